#pragma once
// The library's colour catalogue as text and as a page of swatches that a
// person can look at: each colour's light form on a light ground beside its
// dark form on a dark ground.

#include <string>

namespace tqkit {

/// One line per catalogue colour: its name, then the hash forms of its light
/// and dark variants, tab-separated.
std::string catalogueText();

/// The page. Its layout is fixed, so that a screenshot can be checked: a
/// 48-pixel header, then one 40-pixel row per colour (in catalogue order)
/// with the name in the first 260 pixels and 160-pixel light and dark cells,
/// each holding a swatch 136 by 28 pixels at 12, 6 in the cell.
std::string catalogueHTML();

}  // namespace tqkit
