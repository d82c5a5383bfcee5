#pragma once
// The few URL pieces the watchers and reachability need: a file URL's path,
// and a network URL's scheme, host and port. Not a URL parser for the world:
// it reads what RFC 3986 calls the authority and nothing else.

#include <optional>
#include <string>

namespace tq::detail {

/// The path of a "file://" URL (percent escapes decoded); any other text is
/// taken as a path already.
std::string filePathOfURL(const std::string& url);

struct URLParts {
  std::string scheme;
  std::string host;  // without the brackets of an IPv6 literal
  std::optional<int> port;
};
/// Nothing when the text has no "scheme://" or no host.
std::optional<URLParts> urlParts(const std::string& url);

}  // namespace tq::detail
