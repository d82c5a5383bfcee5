#include "tq/logging/TQLogEntry.h"

#include "tq/logging/internal/LogTimestamp.h"

namespace tq {

std::string TQLogEntry::logStatementUTF8() const {
  std::string out;
  if (date_) {
    detail::appendLogTimestamp(out, date_->timeIntervalSinceReferenceDate());
  } else {
    out += "(null)";
  }
  out += " [";
  out += category_ ? category_->utf8() : std::string("(null)");
  out += "] ";
  out += logstring_ ? logstring_->utf8() : std::string("(null)");
  return out;
}

Ref<String> TQLogEntry::logStatement() const { return str(logStatementUTF8()); }

}  // namespace tq
