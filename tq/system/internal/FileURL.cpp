#include "tq/system/internal/FileURL.h"

#include <cctype>

namespace tq::detail {

namespace {

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

std::string percentDecoded(const std::string& text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && i + 2 < text.size() + 0 && hexValue(text[i + 1]) >= 0 && hexValue(text[i + 2]) >= 0) {
      out.push_back(static_cast<char>(hexValue(text[i + 1]) * 16 + hexValue(text[i + 2])));
      i += 2;
    } else {
      out.push_back(text[i]);
    }
  }
  return out;
}

}  // namespace

std::string filePathOfURL(const std::string& url) {
  const std::string prefix = "file://";
  if (url.compare(0, prefix.size(), prefix) != 0) return url;
  auto pathStart = url.find('/', prefix.size());  // after an optional host ("localhost")
  if (pathStart == std::string::npos) return "/";
  return percentDecoded(url.substr(pathStart));
}

std::optional<URLParts> urlParts(const std::string& url) {
  auto separator = url.find("://");
  if (separator == std::string::npos || separator == 0) return std::nullopt;
  URLParts parts;
  parts.scheme = url.substr(0, separator);
  std::string authority = url.substr(separator + 3);
  authority = authority.substr(0, authority.find_first_of("/?#"));
  if (auto at = authority.rfind('@'); at != std::string::npos) authority.erase(0, at + 1);
  std::string portText;
  if (!authority.empty() && authority.front() == '[') {
    auto close = authority.find(']');
    if (close == std::string::npos) return std::nullopt;
    parts.host = authority.substr(1, close - 1);
    if (close + 1 < authority.size() && authority[close + 1] == ':') portText = authority.substr(close + 2);
  } else {
    auto colon = authority.rfind(':');
    parts.host = percentDecoded(authority.substr(0, colon));
    if (colon != std::string::npos) portText = authority.substr(colon + 1);
  }
  if (parts.host.empty()) return std::nullopt;
  if (!portText.empty()) {
    int port = 0;
    for (char c : portText) {
      if (!std::isdigit(static_cast<unsigned char>(c)) || port > 65535) return std::nullopt;
      port = port * 10 + (c - '0');
    }
    parts.port = port;
  }
  return parts;
}

}  // namespace tq::detail
