#pragma once
// String tables: the "key" = "value"; files of a localisation folder
// (<lang>.lproj/Localizable.strings), in the old-style text form with its
// comments and escapes (see TextPropertyList.h). Files come as UTF-8, with or
// without a byte-order mark, or as UTF-16 with a byte-order mark in either
// byte order, as the platform's editors write them.

#include <string_view>

#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/collection/Error.h"

namespace tq::StringTable {

/// The table of a file's bytes: every key and every value a string. Nil and
/// an error (TQPropertyListErrorDomain, code 3840) for a text that does not
/// read, UTF-16 that is not well formed (an odd length, half a surrogate
/// pair), or an entry whose value is not a string.
Ref<Dictionary> read(std::string_view bytes, Ref<Error>* error = nullptr);

}  // namespace tq::StringTable
