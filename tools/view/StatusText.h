#pragma once

#include <cstdint>
#include <string>

class CGeoRegion2DNode;

// Text as a region overlay: a 3 x 5 pixel font, each font pixel a square of
// scale window pixels. Letters show in capitals; characters the font lacks
// show as "?".

namespace brell::view {

// A new region overlay (count 0) of text with its top-left corner at (x, y).
CGeoRegion2DNode* TextOverlay(const std::string& text, int x, int y, int scale, uint32_t color);
// The width in window pixels of text at scale.
int TextWidth(const std::string& text, int scale);

}  // namespace brell::view
