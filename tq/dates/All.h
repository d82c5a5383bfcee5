#pragma once
// Umbrella header of tq/dates/, the dates and versions subsystem: shared date
// formatters, calendar helpers, date ranges, date preferences and version
// details. It includes every public header of the folder, for users and
// tools; the library's own code includes what it uses.

#include "tq/dates/CalendarTQFoundation.h"
#include "tq/dates/DatePreference.h"
#include "tq/dates/DateTQFoundation.h"
#include "tq/dates/DateTransformers.h"
#include "tq/dates/ISODates.h"
#include "tq/dates/TQDateRange.h"
#include "tq/dates/TQVersionDetails.h"
