#pragma once
// The library's extension of URLs (`TQFoundation`). URLs are texts here: an
// absolute URL string, or an absolute path standing for its file URL.

#include "tq/platform/value/String.h"

namespace tq::TQFoundation {

/// The file URL of an absolute path: "file://" and the path with every byte
/// other than letters, digits, "-._~/" written as %XX ("/a b" gives
/// "file:///a%20b").
Ref<String> fileURLStringWithPath(const std::string& path);
/// The URL's absolute string in lower case (a path is taken as its file URL).
Ref<String> lowercaseString(const String& url);
/// The application-support folder of the main bundle, as a file URL ending in
/// "/": on Linux the user's data folder ($XDG_DATA_HOME, else
/// ~/.local/share) followed by the main bundle's "CFBundleName". Nil without
/// a data folder or without a bundle name.
Ref<String> appSupportFolder();

}  // namespace tq::TQFoundation
