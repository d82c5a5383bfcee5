#pragma once
// The frame of an XML property list, for the archive tests that write their
// documents by hand.

#include <string>

namespace tq::plist_test {

inline constexpr const char* PropertyListHeader =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<plist version=\"1.0\">\n";

/// A whole document around `body`.
inline std::string plistDocument(const std::string& body) {
  return std::string(PropertyListHeader) + body + "</plist>\n";
}

}  // namespace tq::plist_test
