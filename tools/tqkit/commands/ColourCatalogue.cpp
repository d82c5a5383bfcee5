#include "ColourCatalogue.h"

#include "tq/colour/ColorTQFoundation.h"
#include "tq/colour/TQDynamicColor.h"

namespace tqkit {

namespace {

namespace colour = tq::TQFoundation;

/// The hash form of one side of a dynamic colour (a colour without a dark
/// variant shows its light one there, as it does in dark mode).
std::string sideHash(const tq::TQDynamicColor& color, bool dark) {
  auto variant = dark && color.darkVariant() ? color.darkVariant() : color.lightVariant();
  return variant ? colour::hashLabelCSSStringRepresentation(*variant)->utf8() : "-";
}

}  // namespace

std::string catalogueText() {
  std::string text;
  for (const std::string& name : tq::TQDynamicColor::catalogueNames()) {
    auto color = tq::TQDynamicColor::catalogueColor(name);
    text += name + "\t" + sideHash(*color, false) + "\t" + sideHash(*color, true) + "\n";
  }
  return text;
}

std::string catalogueHTML() {
  std::string page =
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
      "<title>TQBaseKit colour catalogue</title>\n<style>\n"
      "* { box-sizing: border-box; }\n"
      "body { margin: 0; font: 13px sans-serif; background: #f4f4f4; color: #222; }\n"
      "header { height: 48px; line-height: 48px; padding: 0 12px; font-weight: bold; overflow: hidden; }\n"
      "table { border-collapse: collapse; table-layout: fixed; }\n"
      "td { height: 40px; padding: 0; border: 0; overflow: hidden; white-space: nowrap; }\n"
      "td.name { width: 260px; padding-left: 12px; }\n"
      "td.light { width: 160px; background: #ffffff; }\n"
      "td.dark { width: 160px; background: #1e1e1e; }\n"
      "span { display: block; margin: 6px 12px; width: 136px; height: 28px; }\n"
      "</style>\n</head>\n<body>\n"
      "<header>Colour catalogue: light and dark</header>\n<table>\n";
  for (const std::string& name : tq::TQDynamicColor::catalogueNames()) {
    auto color = tq::TQDynamicColor::catalogueColor(name);
    const std::string light = sideHash(*color, false), dark = sideHash(*color, true);
    page += "<tr><td class=\"name\">" + name + "</td><td class=\"light\"><span title=\"" + light +
            "\" style=\"background: " + light + "\"></span></td><td class=\"dark\"><span title=\"" + dark +
            "\" style=\"background: " + dark + "\"></span></td></tr>\n";
  }
  page += "</table>\n</body>\n</html>\n";
  return page;
}

}  // namespace tqkit
