#pragma once
// The library's shared date formatters: how mail header dates, ISO 8601 /
// RFC 3339 stamps, JSON dates and display dates are written and read.
//
// The pattern and ISO formatters are kept one per thread (in the thread's
// dictionary), because a formatter cannot be used by two threads at once:
// any thread may call them and use what it gets without a lock. The style
// and template formatters are made once per process for the display code of
// the main thread. Formatters that follow the local zone or the current
// locale ask the seams at each use.

#include "tq/platform/value/DateFormatter.h"
#include "tq/platform/value/ISO8601DateFormatter.h"

namespace tq::ISODates {

/// "EEE, d MMM yyyy HH:mm:ss Z" in en_US (English names whatever the user's
/// language), local zone: "Tue, 5 Mar 2024 15:07:09 +0100".
Ref<DateFormatter> FKRFC2822dateFormatter();
/// RFC 3339 in GMT: "2024-03-05T14:07:09Z".
Ref<ISO8601DateFormatter> FKISO8601dateFormatterUTC();
/// RFC 3339 in the local zone: "2024-03-05T15:07:09+01:00".
Ref<ISO8601DateFormatter> FKISO8601dateFormatter();
/// "@yyyy-MM-dd HH:mm:ss Z@" in en_US, local zone; the @ marks enclose the
/// text and are part of it.
Ref<DateFormatter> dateFormatterForJson();

/// Relative, short date and short time ("Today, 3:07 PM").
Ref<DateFormatter> relativeDateTimeFormatter();
/// Relative, short time alone ("3:07 PM").
Ref<DateFormatter> snippetTimeFormatter();
/// Relative, short date alone ("Yesterday", "3/4/24").
Ref<DateFormatter> relativeDateFormatter();
/// Relative, the locale's pattern for month and day ("Today", "Mar 4").
Ref<DateFormatter> recentDateFormatter();
/// Relative, full date alone ("Tomorrow", "Monday, March 4, 2024").
Ref<DateFormatter> relativeFullDateFormatter();

}  // namespace tq::ISODates
