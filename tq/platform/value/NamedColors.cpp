// The platform's named colours, as `Color::namedColor` finds them by the name
// of the class method that answers them.
//
// The standard colours have their customary component values. The system
// colours have no desktop to ask here, so they are fixed sRGB values for a
// light and a dark appearance (the table is in ARCHITECTURE.md); which one a
// call answers is decided by the appearance seam at that call.

#include <algorithm>
#include <optional>
#include <string_view>
#include <vector>

#include "tq/platform/system/Appearance.h"
#include "tq/platform/value/Color.h"

namespace tq {

namespace {

struct Components {
  ColorSpace space;
  double red, green, blue, alpha;
};

constexpr Components rgb(double red, double green, double blue, double alpha = 1.0) {
  return {ColorSpace::CalibratedRGB, red, green, blue, alpha};
}
constexpr Components white(double white, double alpha = 1.0) {
  return {ColorSpace::CalibratedWhite, white, white, white, alpha};
}

struct NamedColorEntry {
  std::string_view name;
  Components light;
  std::optional<Components> dark;  // only the system colours have one
};

// In name order; sorted again when the objects are made, since the lookup
// is a binary search.
constexpr NamedColorEntry kNamedColors[] = {
    {"blackColor", white(0), std::nullopt},
    {"blueColor", rgb(0, 0, 1), std::nullopt},
    {"brownColor", rgb(0.6, 0.4, 0.2), std::nullopt},
    {"clearColor", white(0, 0), std::nullopt},
    {"controlAccentColor", rgb(0, 0.478, 1), rgb(0.039, 0.518, 1)},
    {"controlBackgroundColor", white(1), white(0.118)},
    {"controlColor", white(1), white(1, 0.25)},
    {"controlTextColor", white(0, 0.85), white(1, 0.85)},
    {"cyanColor", rgb(0, 1, 1), std::nullopt},
    {"darkGrayColor", white(1.0 / 3.0), std::nullopt},
    {"grayColor", white(0.5), std::nullopt},
    {"greenColor", rgb(0, 1, 0), std::nullopt},
    {"gridColor", white(0.9), white(1, 0.1)},
    {"labelColor", white(0, 0.85), white(1, 0.85)},
    {"lightGrayColor", white(2.0 / 3.0), std::nullopt},
    {"linkColor", rgb(0, 0.408, 0.855), rgb(0.255, 0.612, 1)},
    {"magentaColor", rgb(1, 0, 1), std::nullopt},
    {"orangeColor", rgb(1, 0.5, 0), std::nullopt},
    {"purpleColor", rgb(0.5, 0, 0.5), std::nullopt},
    {"redColor", rgb(1, 0, 0), std::nullopt},
    {"secondaryLabelColor", white(0, 0.5), white(1, 0.55)},
    {"selectedContentBackgroundColor", rgb(0, 0.388, 0.882), rgb(0, 0.349, 0.82)},
    {"selectedControlColor", rgb(0.702, 0.843, 1), rgb(0.247, 0.388, 0.549)},
    {"selectedTextBackgroundColor", rgb(0.702, 0.843, 1), rgb(0.247, 0.388, 0.549)},
    {"separatorColor", white(0, 0.1), white(1, 0.1)},
    {"textBackgroundColor", white(1), white(0.118)},
    {"textColor", white(0), white(1)},
    {"whiteColor", white(1), std::nullopt},
    {"windowBackgroundColor", white(0.925), white(0.196)},
    {"yellowColor", rgb(1, 1, 0), std::nullopt},
};

Ref<Color> makeColor(const Components& c) { return make<Color>(c.space, c.red, c.green, c.blue, c.alpha); }

/// The objects of the table, made once: the same name answers the same
/// object, so results kept with a named colour (its shades) are shared.
struct NamedColorObjects {
  std::vector<const NamedColorEntry*> entries;  // sorted by name
  std::vector<Ref<Color>> light;
  std::vector<Ref<Color>> dark;  // nil where there is no dark form

  NamedColorObjects() {
    for (const auto& entry : kNamedColors) entries.push_back(&entry);
    std::sort(entries.begin(), entries.end(), [](auto* a, auto* b) { return a->name < b->name; });
    for (const auto* entry : entries) {
      light.push_back(makeColor(entry->light));
      dark.push_back(entry->dark ? makeColor(*entry->dark) : nullptr);
    }
  }
};

const NamedColorObjects& namedColorObjects() {
  static const NamedColorObjects objects;
  return objects;
}

}  // namespace

Ref<Color> Color::namedColor(std::string_view methodName) { return namedColorForAppearance(methodName, isDarkAppearance()); }

Ref<Color> Color::namedColorForAppearance(std::string_view methodName, bool dark) {
  const auto& objects = namedColorObjects();
  auto found = std::lower_bound(objects.entries.begin(), objects.entries.end(), methodName,
                                [](const NamedColorEntry* entry, std::string_view name) { return entry->name < name; });
  if (found == objects.entries.end() || (*found)->name != methodName) return nullptr;
  const std::size_t index = std::size_t(found - objects.entries.begin());
  if (objects.dark[index] && dark) return objects.dark[index];
  return objects.light[index];
}

std::vector<std::string> Color::namedColorNames() {
  std::vector<std::string> names;
  for (const auto* entry : namedColorObjects().entries) names.emplace_back(entry->name);
  return names;
}

}  // namespace tq
