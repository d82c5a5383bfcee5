// Dynamic colours: resolution at each use, effect colours and their
// fallbacks, copies, the catalogue with its gaps, and the appearance
// observer with weakly held controllers.

#include <gtest/gtest.h>

#include "tests/colour/ColorTestSupport.h"
#include "tests/colour/RecordingController.h"
#include "tq/colour/ColorTQFoundation.h"
#include "tq/colour/TQAppearanceChangeObserver.h"
#include "tq/colour/TQDynamicColor.h"
#include "tq/platform/dispatch/NotificationCenter.h"
#include "tq/platform/dispatch/RunLoop.h"
#include "tq/platform/object/Application.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/system/Appearance.h"

using namespace tq;
using namespace tq::testing;

namespace {

Ref<Color> rgb(double r, double g, double b) { return Color::colorWithCalibratedRed(r, g, b, 1); }

/// An effect colour that a dynamic colour used as a variant answers.
Ref<TQDynamicColor> variantWithPressed(Ref<Color> base, Ref<Color> pressed) {
  auto variant = TQDynamicColor::withLightVariant(std::move(base), nullptr);
  variant->setLightPressedEffectColor(std::move(pressed));
  return variant;
}

}  // namespace

TEST(DynamicColor, ResolvesAgainstTheAppearanceAtEachUse) {
  auto color = TQDynamicColor::withLightVariant(rgb(1, 0, 0), rgb(0, 0, 1));
  auto lightOnly = TQDynamicColor::withLightVariant(rgb(0, 1, 0), nullptr);
  {
    ScopedAppearance light(FixedAppearance::light());
    EXPECT_TRUE(hasRGBA(color, 1, 0, 0, 1));
    EXPECT_EQ(TQFoundation::hashLabelCSSStringRepresentation(*color)->utf8(), "#ff0000");
  }
  ScopedAppearance dark(FixedAppearance::dark());
  EXPECT_TRUE(TQDynamicColor::isDarkMode());
  EXPECT_TRUE(hasRGBA(color, 0, 0, 1, 1)) << "the same object, now dark";
  EXPECT_EQ(color->description()->utf8(), rgb(0, 0, 1)->description()->utf8());
  EXPECT_TRUE(hasRGBA(color->shadowWithLevel(0.5), 0, 0, 0.5, 1));
  EXPECT_TRUE(hasRGBA(color->highlightWithLevel(0.5), 0.5, 0.5, 1, 1));
  EXPECT_TRUE(hasRGBA(lightOnly, 0, 1, 0, 1)) << "no dark variant: the light one in dark mode too";

  auto none = TQDynamicColor::withLightVariant(nullptr, nullptr);
  EXPECT_EQ(none->numberOfComponents(), 0u);
  EXPECT_FALSE(none->colorUsingColorSpace(ColorSpace::DeviceRGB));
  EXPECT_FALSE(none->description());
  EXPECT_EQ(TQFoundation::jsonStringRepresentation(*none)->utf8(), "0 0 0 0") << "no variant yields nothing";
}

TEST(DynamicColor, SystemEffectFallsBackToTheVariantsOwnEffectThenTheVariant) {
  auto darkVariant = variantWithPressed(rgb(0.2, 0.2, 0.2), rgb(0.3, 0.3, 0.3));
  auto color = TQDynamicColor::withLightVariant(rgb(0.9, 0.9, 0.9), darkVariant);
  color->setLightPressedEffectColor(rgb(0.8, 0, 0));
  color->setDarkDisabledEffectColor(rgb(0, 0.1, 0));
  {
    ScopedAppearance light(FixedAppearance::light());
    EXPECT_TRUE(hasRGBA(color->colorWithSystemEffect(1), 0.8, 0, 0, 1));
    EXPECT_TRUE(hasRGBA(color->colorWithSystemEffect(4), 0.9, 0.9, 0.9, 1)) << "plain variant, no effect: itself";
  }
  ScopedAppearance dark(FixedAppearance::dark());
  EXPECT_TRUE(hasRGBA(color->colorWithSystemEffect(3), 0, 0.1, 0, 1)) << "the dark side's own entry";
  EXPECT_TRUE(hasRGBA(color->colorWithSystemEffect(1), 0.3, 0.3, 0.3, 1)) << "the dark variant's pressed colour";
  EXPECT_TRUE(hasRGBA(color->colorWithSystemEffect(2), 0.2, 0.2, 0.2, 1)) << "and the variant itself after that";
  auto noDark = TQDynamicColor::withLightVariant(rgb(0.5, 0.5, 0.5), nullptr);
  noDark->setLightRolloverEffectColor(rgb(0.6, 0.6, 0.6));
  EXPECT_TRUE(hasRGBA(noDark->colorWithSystemEffect(4), 0.6, 0.6, 0.6, 1)) << "dark mode without a dark variant";
}

TEST(DynamicColor, EffectPropertiesAndCopies) {
  auto color = TQDynamicColor::withLightVariant(rgb(1, 1, 1), rgb(0, 0, 0));
  using Getter = Ref<Color> (TQDynamicColor::*)() const;
  using Setter = void (TQDynamicColor::*)(Ref<Color>);
  const std::pair<Getter, Setter> properties[] = {
      {&TQDynamicColor::lightPressedEffectColor, &TQDynamicColor::setLightPressedEffectColor},
      {&TQDynamicColor::lightDeepPressedEffectColor, &TQDynamicColor::setLightDeepPressedEffectColor},
      {&TQDynamicColor::lightDisabledEffectColor, &TQDynamicColor::setLightDisabledEffectColor},
      {&TQDynamicColor::lightRolloverEffectColor, &TQDynamicColor::setLightRolloverEffectColor},
      {&TQDynamicColor::darkPressedEffectColor, &TQDynamicColor::setDarkPressedEffectColor},
      {&TQDynamicColor::darkDeepPressedEffectColor, &TQDynamicColor::setDarkDeepPressedEffectColor},
      {&TQDynamicColor::darkDisabledEffectColor, &TQDynamicColor::setDarkDisabledEffectColor},
      {&TQDynamicColor::darkRolloverEffectColor, &TQDynamicColor::setDarkRolloverEffectColor}};
  for (std::size_t i = 0; i < std::size(properties); ++i) {
    (color.get()->*properties[i].second)(rgb(0.1 * double(i), 0, 0));
  }
  for (std::size_t i = 0; i < std::size(properties); ++i) {
    EXPECT_TRUE(hasRGBA((color.get()->*properties[i].first)(), 0.1 * double(i), 0, 0, 1)) << "property " << i;
  }
  auto copy = std::dynamic_pointer_cast<TQDynamicColor>(color->copy());
  ASSERT_TRUE(copy);
  EXPECT_NE(copy, color);
  color->setLightPressedEffectColor(nullptr);
  color->setDarkRolloverEffectColor(rgb(1, 0, 1));
  EXPECT_FALSE(color->lightPressedEffectColor()) << "nil removes the entry";
  EXPECT_TRUE(hasRGBA(copy->lightPressedEffectColor(), 0, 0, 0, 1)) << "the copy keeps its own";
  EXPECT_TRUE(hasRGBA(copy->darkRolloverEffectColor(), 0.7, 0, 0, 1));
  EXPECT_EQ(copy->lightVariant(), color->lightVariant());
}

TEST(DynamicColorCatalogue, ValuesSharedColoursAndTheGapsOfTheNumberedOnes) {
  struct Case {
    Ref<TQDynamicColor> (*make)();
    double light[3];
    double dark[3];
  };
  const Case cases[] = {
      {&TQDynamicColor::tagWindowBackgroundColor, {0.837, 0.869, 0.898}, {0.1, 0.1, 0.1}},
      {&TQDynamicColor::keywordsScopeBarBackgroundColor, {0.837, 0.869, 0.898}, {0.1, 0.1, 0.1}},
      {&TQDynamicColor::keywordFillColor, {0.834, 0.883, 0.967}, {0.666, 0.765, 0.934}},
      {&TQDynamicColor::keywordStrokeColor, {0.569, 0.692, 0.91}, {0.569, 0.692, 0.91}},
      {&TQDynamicColor::keywordTextColor, {0.112, 0.2055, 0.371}, {0.1568, 0.2877, 0.5194}},
      {&TQDynamicColor::gmailLabelFillColor, {0.569, 0.692, 0.91}, {83 / 255.0, 100 / 255.0, 125 / 255.0}},
      {&TQDynamicColor::gmailLabelCountColor, {0.7845, 0.846, 0.955}, {169 / 255.0, 177.5 / 255.0, 190 / 255.0}},
      {&TQDynamicColor::mutedGmailLabelTextColor, {0.3, 0.3, 0.3}, {0.3, 0.3, 0.3}},
      {&TQDynamicColor::tokenAreaViewBackgroundColor, {1, 1, 1}, {0.118, 0.118, 0.118}},
      {&TQDynamicColor::composerWindowBackgroundColor, {1, 1, 1}, {0.16, 0.16, 0.16}},
      {&TQDynamicColor::notesBackgroundColor, {0.999, 0.971, 0.865}, {0.237, 0.216, 0.149}},
  };
  for (const Case& c : cases) {
    auto color = c.make();
    ScopedAppearance light(FixedAppearance::light());
    EXPECT_TRUE(hasRGBA(color, c.light[0], c.light[1], c.light[2], 1));
    ScopedAppearance dark(FixedAppearance::dark());
    EXPECT_TRUE(hasRGBA(color, c.dark[0], c.dark[1], c.dark[2], 1));
  }
  auto fill = TQDynamicColor::keywordFillColor();
  EXPECT_TRUE(hasRGBA(fill->lightPressedEffectColor(), 0.355, 0.454, 0.923, 1));
  EXPECT_TRUE(hasRGBA(fill->darkPressedEffectColor(), 0.224, 0.411, 0.742, 1));
  EXPECT_FALSE(TQDynamicColor::gmailLabelCountColor()->lightPressedEffectColor());
  EXPECT_FALSE(TQDynamicColor::keywordStrokeColor()->darkVariant());

  EXPECT_NE(TQDynamicColor::keywordFillColor(), TQDynamicColor::keywordFillColor()) << "a new colour each call";
  for (auto make : {&TQDynamicColor::gmailLabelStrokeColor, &TQDynamicColor::tagFieldLabelTextColor,
                    &TQDynamicColor::highlightedTagFieldLabelTextColor, &TQDynamicColor::notesBackgroundColor,
                    &TQDynamicColor::notesTextColor}) {
    EXPECT_EQ(make(), make()) << "shared";
  }

  std::vector<int> numbers;
  for (int n = 0; n <= 40; ++n) {
    if (TQDynamicColor::namedColor(n)) numbers.push_back(n);
  }
  EXPECT_EQ(numbers, (std::vector<int>{4, 5, 6, 7, 8, 10, 11, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25,
                                       26, 27, 30, 31, 32, 33, 35, 36}));
  ScopedAppearance dark(FixedAppearance::dark());
  EXPECT_TRUE(hasRGBA(TQDynamicColor::namedColor(21), 0.729, 0.945, 0.266, 1)) << "the same in dark mode";
  EXPECT_TRUE(hasRGBA(TQDynamicColor::catalogueColor("namedColor35"), 1.0, 0.533, 0.545, 1));
  EXPECT_FALSE(TQDynamicColor::catalogueColor("namedColor9"));
  EXPECT_FALSE(TQDynamicColor::catalogueColor("namedColor04"));
  EXPECT_EQ(TQDynamicColor::catalogueNames().size(), 19u + 28u);
}

TEST(AppearanceObserver, ControllersHearChangesOnTheMainQueueAndTheGoneAreDropped) {
  ScopedAppearance light(FixedAppearance::light());
  RunLoop::main().runFor(0.05);  // what earlier tests queued
  auto kept = make<RecordingController>();
  auto gone = make<RecordingController>();
  TQFoundation::observeAppearanceChanges(kept);
  _TQAppearanceChangeObserver::startObservationsForObject(gone);
  WeakRef<RecordingController> weakGone = gone;
  gone.reset();
  auto center = NotificationCenter::defaultCenter();
  EXPECT_FALSE(weakGone.lock()) << "the observer holds controllers weakly";

  int notifications = 0;
  auto token = NotificationCenter::defaultCenter()->addObserverForName(
      str(TQEffectiveAppearanceWasChanged), Application::shared(), nullptr,
      [&](const Ref<Notification>& note) { ++notifications; });
  const std::size_t registered = center->registrationCount();
  {
    ScopedAppearance dark(FixedAppearance::dark());
    EXPECT_TRUE(kept->calls.empty()) << "delivered on the main queue, not at once";
    EXPECT_TRUE(RunLoop::main().runUntil([&] { return !kept->calls.empty(); }, 5.0));
    EXPECT_EQ(kept->calls, std::vector<bool>{true});
    EXPECT_TRUE(RunLoop::main().runUntil([&] { return center->registrationCount() == registered - 1; }, 5.0))
        << "the gone controller's registration is dropped";
  }
  EXPECT_TRUE(RunLoop::main().runUntil([&] { return kept->calls.size() == 2; }, 5.0));
  EXPECT_EQ(kept->calls, (std::vector<bool>{true, false}));
  EXPECT_TRUE(kept->onMainThread);
  EXPECT_EQ(notifications, 2);
  NotificationCenter::defaultCenter()->removeObserver(token);
  EXPECT_THROW(_TQAppearanceChangeObserver::startObservationsForObject(str("not a controller")), Exception);
}
