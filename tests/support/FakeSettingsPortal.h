#pragma once
// A small stand-in for the desktop portal's Settings interface on a test's
// own bus: it owns "org.freedesktop.portal.Desktop", answers ReadOne (or,
// as a portal of the first version, only Read, with its value wrapped in a
// second variant) for "org.freedesktop.appearance" / "color-scheme", and
// emits SettingChanged when the test changes the scheme. It serves its
// connection on a thread of its own, as sd-bus connections are not shared
// between threads.

#include <poll.h>
#include <systemd/sd-bus.h>

#include <atomic>
#include <cstring>
#include <string>
#include <thread>

namespace tq::testing {

class FakeSettingsPortal {
 public:
  /// Starts serving `scheme` on the bus at `address`; `firstVersion`
  /// answers Read alone.
  FakeSettingsPortal(const std::string& address, std::uint32_t scheme, bool firstVersion = false)
      : scheme_(scheme), firstVersion_(firstVersion) {
    if (sd_bus_new(&bus_) < 0) return;
    sd_bus_set_address(bus_, address.c_str());
    sd_bus_set_bus_client(bus_, 1);
    if (sd_bus_start(bus_) < 0) return;
    if (sd_bus_add_object_vtable(bus_, nullptr, "/org/freedesktop/portal/desktop", "org.freedesktop.portal.Settings",
                                 vtable(), this) < 0) {
      return;
    }
    if (sd_bus_request_name(bus_, "org.freedesktop.portal.Desktop", 0) < 0) return;
    ready_ = true;
    thread_ = std::thread([this] { serve(); });
  }
  ~FakeSettingsPortal() {
    stop_ = true;
    if (thread_.joinable()) thread_.join();
    if (bus_) sd_bus_flush_close_unref(bus_);
  }

  bool ready() const { return ready_; }
  /// Changes the scheme and announces it, as the portal does.
  void setScheme(std::uint32_t scheme) {
    scheme_ = scheme;
    emitPending_ = true;
  }
  /// Announces another setting of the namespace, which must be ignored.
  void announceUnrelatedSetting() { unrelatedPending_ = true; }

 private:
  static const sd_bus_vtable* vtable() {
    static const sd_bus_vtable table[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD("ReadOne", "ss", "v", &FakeSettingsPortal::readOne, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("Read", "ss", "v", &FakeSettingsPortal::read, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_SIGNAL("SettingChanged", "ssv", 0),
        SD_BUS_VTABLE_END};
    return table;
  }

  static bool asksForTheScheme(sd_bus_message* call) {
    const char *space = nullptr, *key = nullptr;
    return sd_bus_message_read(call, "ss", &space, &key) >= 0 &&
           std::strcmp(space, "org.freedesktop.appearance") == 0 && std::strcmp(key, "color-scheme") == 0;
  }

  static int readOne(sd_bus_message* call, void* userdata, sd_bus_error* error) {
    auto* portal = static_cast<FakeSettingsPortal*>(userdata);
    if (portal->firstVersion_) {
      return sd_bus_error_set(error, SD_BUS_ERROR_UNKNOWN_METHOD, "No such method 'ReadOne'");
    }
    if (!asksForTheScheme(call)) return sd_bus_error_set(error, "org.freedesktop.portal.Error.NotFound", "unknown");
    return sd_bus_reply_method_return(call, "v", "u", portal->scheme_.load());
  }

  static int read(sd_bus_message* call, void* userdata, sd_bus_error* error) {
    auto* portal = static_cast<FakeSettingsPortal*>(userdata);
    if (!asksForTheScheme(call)) return sd_bus_error_set(error, "org.freedesktop.portal.Error.NotFound", "unknown");
    sd_bus_message* reply = nullptr;
    int r = sd_bus_message_new_method_return(call, &reply);
    if (r >= 0) r = sd_bus_message_open_container(reply, 'v', "v");
    if (r >= 0) r = sd_bus_message_append(reply, "v", "u", portal->scheme_.load());
    if (r >= 0) r = sd_bus_message_close_container(reply);
    if (r >= 0) r = sd_bus_send(nullptr, reply, nullptr);
    sd_bus_message_unref(reply);
    return r;
  }

  void serve() {
    while (!stop_) {
      if (emitPending_.exchange(false)) {
        sd_bus_emit_signal(bus_, "/org/freedesktop/portal/desktop", "org.freedesktop.portal.Settings",
                           "SettingChanged", "ssv", "org.freedesktop.appearance", "color-scheme", "u",
                           scheme_.load());
      }
      if (unrelatedPending_.exchange(false)) {
        sd_bus_emit_signal(bus_, "/org/freedesktop/portal/desktop", "org.freedesktop.portal.Settings",
                           "SettingChanged", "ssv", "org.freedesktop.appearance", "accent-color", "u", 1u);
      }
      while (sd_bus_process(bus_, nullptr) > 0) {
      }
      sd_bus_wait(bus_, 20'000);  // short waits: the flags above are checked between them
    }
  }

  sd_bus* bus_ = nullptr;
  std::thread thread_;
  std::atomic<std::uint32_t> scheme_;
  const bool firstVersion_;
  std::atomic<bool> ready_{false}, stop_{false}, emitPending_{false}, unrelatedPending_{false};
};

}  // namespace tq::testing
