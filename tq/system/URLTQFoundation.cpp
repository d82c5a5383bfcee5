#include "tq/system/URLTQFoundation.h"

#include "tq/platform/bundle/Bundle.h"
#include "tq/platform/system/UserFolders.h"

namespace tq::TQFoundation {

namespace {

bool isUnreserved(unsigned char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '.' ||
         c == '_' || c == '~' || c == '/';
}

}  // namespace

Ref<String> fileURLStringWithPath(const std::string& path) {
  static constexpr char hex[] = "0123456789ABCDEF";
  std::string url = "file://";
  for (unsigned char c : path) {
    if (isUnreserved(c)) {
      url += char(c);
    } else {
      url += '%';
      url += hex[c >> 4];
      url += hex[c & 15];
    }
  }
  return str(url);
}

Ref<String> lowercaseString(const String& url) {
  const bool isPath = url.length() > 0 && url.characterAtIndex(0) == u'/';
  return (isPath ? fileURLStringWithPath(url.utf8()) : str(url.utf16()))->lowercaseString();
}

Ref<String> appSupportFolder() {
  const std::string data = UserFolders::current().dataHome;
  auto name = cast<String>(Bundle::mainBundle()->objectForInfoDictionaryKey("CFBundleName"));
  if (data.empty() || !name || name->length() == 0) return nullptr;
  return fileURLStringWithPath(data + "/" + name->utf8() + "/");
}

}  // namespace tq::TQFoundation
