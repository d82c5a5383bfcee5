#include "tq/dates/internal/DateStrings.h"

#include <array>
#include <utility>

namespace tq::detail {

namespace {

constexpr std::array<std::pair<std::string_view, std::string_view>, 19> Table{{
    {"DatePreference.Today", "Today"},
    {"DatePreference.Tomorrow", "Tomorrow"},
    {"DatePreference.InOneDay", "In 1 day"},
    {"DatePreference.InDays", "In %llu days"},
    {"DatePreference.FirstOfNextMonth", "First of next month"},
    {"DatePreference.LastOfThisMonth", "Last day of this month"},
    {"DatePreference.Next1", "Next Sunday"},
    {"DatePreference.Next2", "Next Monday"},
    {"DatePreference.Next3", "Next Tuesday"},
    {"DatePreference.Next4", "Next Wednesday"},
    {"DatePreference.Next5", "Next Thursday"},
    {"DatePreference.Next6", "Next Friday"},
    {"DatePreference.Next7", "Next Saturday"},
    {"DatePreference.InOneMinute", "In 1 minute"},
    {"DatePreference.InMinutes", "In %llu minutes"},
    {"DatePreference.InOneHour", "In 1 hour"},
    {"DatePreference.InHours", "In %llu hours"},
    {"DatePreference.Now", "Now"},
    {"DatePreference.AtTime", "%s at %02llu:%02llu"},
}};

}  // namespace

std::string_view dateString(std::string_view key) {
  for (const auto& [name, text] : Table) {
    if (name == key) return text;
  }
  return key;
}

}  // namespace tq::detail
