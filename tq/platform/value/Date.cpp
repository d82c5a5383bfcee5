#include "tq/platform/value/Date.h"

#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <functional>
#include <random>

#include "tq/platform/object/Exception.h"
#include "tq/platform/system/Clocks.h"
#include "tq/platform/value/String.h"

namespace tq {

TimeInterval Date::now() { return WallClock::current()->secondsSince1970() - TimeIntervalSince1970; }
Ref<Date> Date::date() { return make<Date>(now()); }

bool Date::isEqual(const Object& other) const {
  const auto* date = dynamic_cast<const Date*>(&other);
  return date && date->seconds_ == seconds_;
}

std::size_t Date::hash() const { return std::hash<double>()(seconds_); }

Ref<String> Date::description() const {
  std::time_t t = std::time_t(std::floor(timeIntervalSince1970()));
  std::tm tm{};
  gmtime_r(&t, &tm);
  char buffer[64];
  std::strftime(buffer, sizeof buffer, "%Y-%m-%d %H:%M:%S +0000", &tm);
  return str(buffer);
}

ComparisonResult Date::compare(const Object& other) const {
  const auto* date = dynamic_cast<const Date*>(&other);
  if (!date) raise(ExceptionName::InvalidArgument, "-[Date compare:]: argument is not a date");
  return ComparisonResult((seconds_ > date->seconds_) - (seconds_ < date->seconds_));
}

UUID::UUID() {
  static thread_local std::mt19937_64 generator{std::random_device{}()};
  for (int i = 0; i < 16; i += 8) {
    std::uint64_t r = generator();
    for (int j = 0; j < 8; ++j) bytes_[i + j] = std::uint8_t(r >> (8 * j));
  }
  bytes_[6] = std::uint8_t((bytes_[6] & 0x0f) | 0x40);
  bytes_[8] = std::uint8_t((bytes_[8] & 0x3f) | 0x80);
}

Ref<UUID> UUID::fromString(std::string_view text) {
  if (text.size() != 36) return nullptr;
  std::array<std::uint8_t, 16> bytes{};
  int nibble = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    char c = text[i];
    if (i == 8 || i == 13 || i == 18 || i == 23) {
      if (c != '-') return nullptr;
      continue;
    }
    int v = (c >= '0' && c <= '9') ? c - '0' : (c >= 'a' && c <= 'f') ? c - 'a' + 10 : (c >= 'A' && c <= 'F') ? c - 'A' + 10 : -1;
    if (v < 0) return nullptr;
    bytes[nibble / 2] = std::uint8_t(bytes[nibble / 2] | (nibble % 2 ? v : v << 4));
    ++nibble;
  }
  return make<UUID>(bytes);
}

bool UUID::isEqual(const Object& other) const {
  const auto* uuid = dynamic_cast<const UUID*>(&other);
  return uuid && uuid->bytes_ == bytes_;
}

std::size_t UUID::hash() const {
  return std::hash<std::string_view>()(std::string_view(reinterpret_cast<const char*>(bytes_.data()), 16));
}

std::string UUID::UUIDString() const {
  char out[37];
  std::snprintf(out, sizeof out, "%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X", bytes_[0],
                bytes_[1], bytes_[2], bytes_[3], bytes_[4], bytes_[5], bytes_[6], bytes_[7], bytes_[8], bytes_[9],
                bytes_[10], bytes_[11], bytes_[12], bytes_[13], bytes_[14], bytes_[15]);
  return out;
}

Ref<String> UUID::description() const { return str(UUIDString()); }

}  // namespace tq
