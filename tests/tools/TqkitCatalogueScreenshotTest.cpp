// The colour catalogue page, looked at in a real headless browser: one page
// load, a screenshot of the expected size, and a light and a dark swatch of
// the first colour in their expected colours.

#include <gtest/gtest.h>
#include <png.h>

#include <filesystem>
#include <vector>

#include "tests/tools/TqkitTestSupport.h"

using namespace tq::testing;

namespace {

struct Image {
  unsigned width = 0, height = 0;
  std::vector<unsigned char> rgba;
  std::array<int, 3> at(unsigned x, unsigned y) const {
    const std::size_t i = (std::size_t(y) * width + x) * 4;
    return {rgba[i], rgba[i + 1], rgba[i + 2]};
  }
};

bool readPNG(const std::string& path, Image& image) {
  png_image png{};
  png.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_file(&png, path.c_str())) return false;
  png.format = PNG_FORMAT_RGBA;
  image.width = png.width;
  image.height = png.height;
  image.rgba.resize(PNG_IMAGE_SIZE(png));
  return png_image_finish_read(&png, nullptr, image.rgba.data(), 0, nullptr) != 0;
}

std::string browser() {
  for (const char* candidate : {"/usr/bin/chromium", "/usr/bin/chromium-browser", "/usr/bin/google-chrome"}) {
    if (std::filesystem::exists(candidate)) return candidate;
  }
  return {};
}

}  // namespace

using TqkitCatalogueScreenshot = TqkitTest;

TEST_F(TqkitCatalogueScreenshot, TheSwatchesShowTheLightAndDarkForms) {
  const std::string chromium = browser();
  if (chromium.empty()) GTEST_SKIP() << "no chromium to look at the page with (scripts/setup installs it)";
  const std::string page = path("catalogue.html"), shot = path("catalogue.png");
  const InProcessResult written = runInProcess({"colour", "catalogue", "--html", page});
  ASSERT_EQ(written.status, 0) << written.err;

  const CommandResult ran = runCommand(shellQuoted(chromium) +
                                       " --headless --no-sandbox --disable-gpu --hide-scrollbars"
                                       " --force-device-scale-factor=1 --window-size=600,400 --screenshot=" +
                                       shellQuoted(shot) + " " + shellQuoted("file://" + page) + " 2>/dev/null");
  ASSERT_EQ(ran.status, 0) << ran.output;
  Image image;
  ASSERT_TRUE(readPNG(shot, image)) << "no readable screenshot";
  EXPECT_EQ(image.width, 600u);
  EXPECT_EQ(image.height, 400u);
  // The first row (tagWindowBackgroundColor) lies below the 48-pixel header;
  // its swatches are centred at x 340 (light cell) and 500 (dark cell).
  EXPECT_EQ(image.at(340, 68), (std::array<int, 3>{0xd5, 0xdd, 0xe4})) << "the light form";
  EXPECT_EQ(image.at(500, 68), (std::array<int, 3>{0x19, 0x19, 0x19})) << "the dark form";
  EXPECT_EQ(image.at(425, 68), (std::array<int, 3>{0x1e, 0x1e, 0x1e})) << "the dark ground around it";
  EXPECT_EQ(image.at(265, 68), (std::array<int, 3>{0xff, 0xff, 0xff})) << "the light ground";
}
