#pragma once
// Umbrella header of tq/encodings/, the text encodings of mail. It includes
// every public header of the folder, for users and tools; the library's own
// code includes what it uses. The CTest check Package.UmbrellasReachEveryHeader
// fails when a public header of the folder is not reached from here.

#include "tq/encodings/HTMLEntities.h"
#include "tq/encodings/MimeEncoding.h"
#include "tq/encodings/QuotedPrintableBody.h"
#include "tq/encodings/RFC2822.h"
#include "tq/encodings/StringHashing.h"
#include "tq/encodings/TransferEncodings.h"
