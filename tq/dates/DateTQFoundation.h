#pragma once
// ISO 8601 text of dates, and the time since a date.

#include "tq/platform/value/Date.h"
#include "tq/platform/value/String.h"

namespace tq::TQFoundation {

/// The date in RFC 3339 form in the local zone ("2024-03-05T15:07:09+01:00").
Ref<String> tq_ISO8601String(const Date& date);
/// The date an RFC 3339 text names; nil for nil or text in any other form.
Ref<Date> dateWithISO8601String(const Ref<String>& text);
/// Seconds from the date to now: positive for a date in the past.
TimeInterval lapsedTime(const Date& date);

}  // namespace tq::TQFoundation
