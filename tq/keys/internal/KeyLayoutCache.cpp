#include "tq/keys/internal/KeyLayoutCache.h"

#include <atomic>
#include <mutex>

#include "tq/keys/internal/KeyTables.h"
#include "tq/keys/internal/KeyText.h"
#include "tq/platform/dispatch/DispatchQueue.h"

namespace tq::detail {

namespace {

std::mutex& cacheLock() {
  static std::mutex mutex;
  return mutex;
}

/// Moves on at every rebuild, under the lock.
std::atomic<std::uint64_t>& generation() {
  static std::atomic<std::uint64_t> counter{1};
  return counter;
}

std::shared_ptr<const KeyLayoutSnapshot>& cached() {
  static std::shared_ptr<const KeyLayoutSnapshot> snapshot = std::make_shared<KeyLayoutSnapshot>();
  return snapshot;
}

/// The layout shortcuts are read from: the current one, else (none, or one
/// that cannot type the Latin letters) the ASCII-capable one.
std::shared_ptr<const KeyboardLayout> shortcutLayout() {
  auto layouts = KeyboardLayouts::current();
  auto layout = layouts->currentLayout();
  if (layout && layout->isASCIICapable()) return layout;
  return layouts->currentASCIICapableLayout();
}

void enter(KeyLayoutSnapshot::CharacterMap& map, std::u16string text, std::uint16_t keyCode) {
  // A later key with the same text replaces an earlier one.
  if (!text.empty()) map[std::move(text)] = keyCode;
}

std::shared_ptr<KeyLayoutSnapshot> build(std::shared_ptr<const KeyboardLayout> layout) {
  auto snapshot = std::make_shared<KeyLayoutSnapshot>();
  bool translated[52] = {};
  for (const auto& [code, name] : fixedKeyEntries()) {
    if (code < 52) translated[code] = true;  // taken out of the translated codes
    snapshot->fixed[name] = code;
  }
  // Only codes 0 to 51 are translated: keys above that are not in the fixed
  // table get no character entry.
  for (std::uint16_t code = 0; code < 52; ++code) {
    if (translated[code]) continue;
    using namespace KeyModifierState;
    enter(snapshot->unmod, layout->translate(code, 0, KeyAction::Display), code);
    // The shift pass asks what the key types, the others what it shows: a
    // dead key is found unshifted and with option, never with shift alone.
    enter(snapshot->shift, layout->translate(code, Shift, KeyAction::Down), code);
    enter(snapshot->option, layout->translate(code, Option, KeyAction::Display), code);
    enter(snapshot->shiftOption, layout->translate(code, Shift | Option, KeyAction::Display), code);
  }
  for (std::uint16_t code = 0; code < snapshot->labels.size(); ++code) {
    snapshot->labels[code] = uppercased(layout->translate(code, 0, KeyAction::Display));
  }
  const KeyLayoutSnapshot::CharacterMap* maps[] = {&snapshot->fixed, &snapshot->unmod, &snapshot->shift,
                                                   &snapshot->option, &snapshot->shiftOption};
  for (std::size_t i = 0; i < 5; ++i) {
    for (const auto& [text, code] : *maps[i]) {
      auto& entry = snapshot->index[text];
      entry.codes[i] = code;
      entry.present |= std::uint8_t(1u << i);
    }
  }
  snapshot->byUnit.assign(0x3000, nullptr);
  for (const auto& [text, entry] : snapshot->index) {
    if (text.size() == 1 && text[0] < snapshot->byUnit.size()) snapshot->byUnit[text[0]] = &entry;
  }
  snapshot->name = layout->name();
  snapshot->identifier = layout->identifier();
  snapshot->layout = std::move(layout);
  return snapshot;
}

/// Once per process: the first build, and a rebuild on the main queue at
/// every change of the layout, for the life of the process.
void loadOnce() {
  static std::once_flag once;
  std::call_once(once, [] {
    KeyboardLayouts::changes().add([] { DispatchQueue::main()->async([] { rebuildKeyLayoutCache(); }); });
    rebuildKeyLayoutCache();
  });
}

}  // namespace

const KeyLayoutSnapshot& keyLayoutSnapshot() {
  loadOnce();
  // Each thread keeps the snapshot it last took and takes the lock again
  // only when a rebuild has moved the generation on: glyph strings and
  // lookups ask at every call, rebuilds come once per layout switch.
  thread_local std::shared_ptr<const KeyLayoutSnapshot> mine;
  thread_local std::uint64_t myGeneration = 0;
  const std::uint64_t now = generation().load(std::memory_order_acquire);
  if (!mine || myGeneration != now) {
    std::lock_guard lock(cacheLock());
    mine = cached();
    myGeneration = generation().load(std::memory_order_relaxed);
  }
  return *mine;
}

void rebuildKeyLayoutCache() {
  auto layout = shortcutLayout();
  if (!layout) return;
  auto snapshot = build(std::move(layout));
  std::lock_guard lock(cacheLock());
  cached() = std::move(snapshot);
  generation().fetch_add(1, std::memory_order_release);
}

void appendKeyName(std::u16string& text, std::uint16_t keyCode) {
  if (const char16_t* name = fixedKeyName(keyCode)) {
    text += name;
    return;
  }
  const KeyLayoutSnapshot& cache = keyLayoutSnapshot();
  if (!cache.layout) return;
  if (keyCode < cache.labels.size()) {
    text += cache.labels[keyCode];
  } else {
    text += uppercased(cache.layout->translate(keyCode, 0, KeyAction::Display));
  }
}

}  // namespace tq::detail
