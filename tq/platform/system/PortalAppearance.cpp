#include "tq/platform/system/PortalAppearance.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <systemd/sd-bus.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <thread>

namespace tq {

namespace {

constexpr const char* PortalService = "org.freedesktop.portal.Desktop";
constexpr const char* PortalPath = "/org/freedesktop/portal/desktop";
constexpr const char* SettingsInterface = "org.freedesktop.portal.Settings";
constexpr const char* AppearanceNamespace = "org.freedesktop.appearance";
constexpr const char* ColorSchemeKey = "color-scheme";

/// Reads the colour-scheme number from a message positioned at a variant.
/// `Read` (the first version of the interface) wraps the value in a second
/// variant, `ReadOne` and the signal do not: both are taken.
std::optional<int> readSchemeVariant(sd_bus_message* message) {
  for (int depth = 0; depth < 3; ++depth) {
    char type = 0;
    const char* contents = nullptr;
    if (sd_bus_message_peek_type(message, &type, &contents) <= 0) return std::nullopt;
    if (type == SD_BUS_TYPE_VARIANT) {
      if (sd_bus_message_enter_container(message, SD_BUS_TYPE_VARIANT, contents) < 0) return std::nullopt;
      continue;
    }
    if (type != SD_BUS_TYPE_UINT32 && type != SD_BUS_TYPE_INT32) return std::nullopt;
    uint32_t value = 0;  // both are four bytes
    if (sd_bus_message_read_basic(message, type, &value) < 0) return std::nullopt;
    return int(value);
  }
  return std::nullopt;
}

PortalAppearance::Scheme schemeFromNumber(std::optional<int> number) {
  if (!number) return PortalAppearance::Scheme::Unknown;
  switch (*number) {
    case 0: return PortalAppearance::Scheme::NoPreference;
    case 1: return PortalAppearance::Scheme::PreferDark;
    case 2: return PortalAppearance::Scheme::PreferLight;
    default: return PortalAppearance::Scheme::NoPreference;  // a value of a later version: no preference we know
  }
}

}  // namespace

struct PortalAppearance::State {
  sd_bus* bus = nullptr;
  sd_bus_slot* match = nullptr;
  int stopFd = -1;
  std::thread thread;
  std::atomic<int> scheme{int(Scheme::Unknown)};
  std::function<void()> onChange;

  ~State() {
    if (thread.joinable()) {
      const uint64_t one = 1;
      (void)!::write(stopFd, &one, sizeof one);
      thread.join();
    }
    if (match) sd_bus_slot_unref(match);
    if (bus) sd_bus_flush_close_unref(bus);
    if (stopFd >= 0) ::close(stopFd);
  }

  /// One call of `method` ("ReadOne", then "Read" for portals of the first
  /// version); the scheme, or nothing when the portal did not answer.
  std::optional<int> ask(const char* method) {
    sd_bus_error error = SD_BUS_ERROR_NULL;
    sd_bus_message* reply = nullptr;
    const int r = sd_bus_call_method(bus, PortalService, PortalPath, SettingsInterface, method, &error, &reply, "ss",
                                     AppearanceNamespace, ColorSchemeKey);
    std::optional<int> number;
    if (r >= 0) number = readSchemeVariant(reply);
    sd_bus_message_unref(reply);
    sd_bus_error_free(&error);
    return number;
  }

  static int onSignal(sd_bus_message* message, void* userdata, sd_bus_error*) {
    auto* state = static_cast<State*>(userdata);
    const char* space = nullptr;
    const char* key = nullptr;
    if (sd_bus_message_read(message, "ss", &space, &key) < 0) return 0;
    if (std::strcmp(space, AppearanceNamespace) != 0 || std::strcmp(key, ColorSchemeKey) != 0) return 0;
    const Scheme scheme = schemeFromNumber(readSchemeVariant(message));
    if (scheme == Scheme::Unknown) return 0;
    state->scheme.store(int(scheme));
    if (state->onChange) state->onChange();
    return 0;
  }

  /// Serves the bus until the stop descriptor is written: signals are
  /// dispatched here, on this thread alone (an sd-bus connection is not to
  /// be shared between threads).
  void serve() {
    for (;;) {
      int r;
      while ((r = sd_bus_process(bus, nullptr)) > 0) {
      }
      if (r < 0) return;  // the bus went away: the last answer stays
      pollfd fds[2] = {{sd_bus_get_fd(bus), short(sd_bus_get_events(bus)), 0}, {stopFd, POLLIN, 0}};
      int timeout = -1;
      uint64_t until = 0;
      if (sd_bus_get_timeout(bus, &until) > 0 && until != UINT64_MAX) {
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC, &now);
        const uint64_t nowMicro = uint64_t(now.tv_sec) * 1000000u + uint64_t(now.tv_nsec) / 1000u;
        timeout = until > nowMicro ? int((until - nowMicro + 999) / 1000) : 0;
      }
      if (::poll(fds, 2, timeout) < 0 && errno != EINTR) return;
      if (fds[1].revents & POLLIN) return;
    }
  }
};

std::shared_ptr<PortalAppearance> PortalAppearance::connect(const std::string& busAddress,
                                                            std::function<void()> onChange, double timeoutSeconds,
                                                            std::string* error) {
  auto state = std::make_unique<State>();
  state->onChange = std::move(onChange);
  auto fail = [&](const char* what, int r) -> std::shared_ptr<PortalAppearance> {
    if (error) *error = std::string(what) + ": " + std::strerror(-r);
    return nullptr;
  };
  int r = sd_bus_new(&state->bus);
  if (r < 0) return fail("cannot make a bus connection", r);
  if ((r = sd_bus_set_address(state->bus, busAddress.c_str())) < 0) return fail("bad bus address", r);
  sd_bus_set_bus_client(state->bus, 1);
  if ((r = sd_bus_start(state->bus)) < 0) return fail("cannot reach the bus", r);
  const uint64_t timeout = timeoutSeconds > 0 ? uint64_t(timeoutSeconds * 1e6) : 1;
  sd_bus_set_method_call_timeout(state->bus, timeout);
  // Listen before asking, so that a change made between the answer and the
  // match is not lost.
  r = sd_bus_match_signal(state->bus, &state->match, PortalService, PortalPath, SettingsInterface, "SettingChanged",
                          &State::onSignal, state.get());
  if (r < 0) return fail("cannot follow the portal's settings", r);
  std::optional<int> number = state->ask("ReadOne");
  if (!number) number = state->ask("Read");
  state->scheme.store(int(schemeFromNumber(number)));
  state->stopFd = ::eventfd(0, EFD_CLOEXEC);
  if (state->stopFd < 0) return fail("cannot make an event descriptor", -errno);
  State* raw = state.get();
  state->thread = std::thread([raw] { raw->serve(); });
  return std::shared_ptr<PortalAppearance>(new PortalAppearance(std::move(state)));
}

PortalAppearance::PortalAppearance(std::unique_ptr<State> state) : state_(std::move(state)) {}
PortalAppearance::~PortalAppearance() = default;

PortalAppearance::Scheme PortalAppearance::scheme() const { return Scheme(state_->scheme.load()); }

std::optional<bool> PortalAppearance::isDark() const {
  switch (scheme()) {
    case Scheme::PreferDark: return true;
    case Scheme::PreferLight: return false;
    default: return std::nullopt;
  }
}

}  // namespace tq
