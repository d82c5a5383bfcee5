#pragma once
// Umbrella header of tq/platform/value/, the platform's value room: strings,
// numbers, data, dates, charsets, colours, scanner, formatting, value
// transformers. It includes every public header of the folder, for users and
// tools; the library's own code includes what it uses. The CTest check
// Package.UmbrellasReachEveryHeader fails when a public header of the folder
// is not reached from here.

#include "tq/platform/value/Calendar.h"
#include "tq/platform/value/ChainedData.h"
#include "tq/platform/value/CharacterSet.h"
#include "tq/platform/value/Charset.h"
#include "tq/platform/value/Color.h"
#include "tq/platform/value/Data.h"
#include "tq/platform/value/Date.h"
#include "tq/platform/value/DateFormatter.h"
#include "tq/platform/value/Format.h"
#include "tq/platform/value/ISO8601DateFormatter.h"
#include "tq/platform/value/Locale.h"
#include "tq/platform/value/Number.h"
#include "tq/platform/value/Scanner.h"
#include "tq/platform/value/String.h"
#include "tq/platform/value/TimeZone.h"
#include "tq/platform/value/ValueTransformer.h"
