#pragma once
// One record of the subsystem-style entry points: when, under which
// subsystem and category, and what.

#include "tq/platform/value/Date.h"
#include "tq/platform/value/String.h"

namespace tq {

class TQLogEntry : public Object {
 public:
  TQLogEntry() = default;
  TQLogEntry(Ref<Date> date, Ref<String> subsystem, Ref<String> category, Ref<String> logstring)
      : date_(std::move(date)),
        subsystem_(std::move(subsystem)),
        category_(std::move(category)),
        logstring_(std::move(logstring)) {}
  std::string className() const override { return "TQLogEntry"; }

  const Ref<Date>& date() const { return date_; }
  void setDate(Ref<Date> date) { date_ = std::move(date); }
  const Ref<String>& subsystem() const { return subsystem_; }
  void setSubsystem(Ref<String> subsystem) { subsystem_ = std::move(subsystem); }
  const Ref<String>& category() const { return category_; }
  void setCategory(Ref<String> category) { category_ = std::move(category); }
  const Ref<String>& logstring() const { return logstring_; }
  void setLogstring(Ref<String> logstring) { logstring_ = std::move(logstring); }

  /// "STAMP [category] text"; a nil category shows as "(null)".
  Ref<String> logStatement() const;
  std::string logStatementUTF8() const;
  Ref<String> description() const override { return logStatement(); }

 private:
  Ref<Date> date_;
  Ref<String> subsystem_;
  Ref<String> category_;
  Ref<String> logstring_;
};

}  // namespace tq
