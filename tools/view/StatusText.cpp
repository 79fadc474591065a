#include "StatusText.h"

#include <brelldata/geo/OverlayNodes.h>

#include <cctype>
#include <cstring>

namespace brell::view {

namespace {

// Each glyph: its character, then five rows from the top, bit 2 the left pixel.
struct Glyph {
    char c;
    unsigned char rows[5];
};
constexpr Glyph kFont[] = {
    {'0', {7, 5, 5, 5, 7}}, {'1', {2, 6, 2, 2, 7}}, {'2', {7, 1, 7, 4, 7}}, {'3', {7, 1, 3, 1, 7}},
    {'4', {5, 5, 7, 1, 1}}, {'5', {7, 4, 7, 1, 7}}, {'6', {7, 4, 7, 5, 7}}, {'7', {7, 1, 1, 2, 2}},
    {'8', {7, 5, 7, 5, 7}}, {'9', {7, 5, 7, 1, 7}}, {'A', {2, 5, 7, 5, 5}}, {'B', {6, 5, 6, 5, 6}},
    {'C', {3, 4, 4, 4, 3}}, {'D', {6, 5, 5, 5, 6}}, {'E', {7, 4, 6, 4, 7}}, {'F', {7, 4, 6, 4, 4}},
    {'G', {3, 4, 5, 5, 3}}, {'H', {5, 5, 7, 5, 5}}, {'I', {7, 2, 2, 2, 7}}, {'J', {1, 1, 1, 5, 2}},
    {'K', {5, 5, 6, 5, 5}}, {'L', {4, 4, 4, 4, 7}}, {'M', {5, 7, 7, 5, 5}}, {'N', {6, 5, 5, 5, 5}},
    {'O', {2, 5, 5, 5, 2}}, {'P', {6, 5, 6, 4, 4}}, {'Q', {2, 5, 5, 6, 3}}, {'R', {6, 5, 6, 5, 5}},
    {'S', {3, 4, 2, 1, 6}}, {'T', {7, 2, 2, 2, 2}}, {'U', {5, 5, 5, 5, 7}}, {'V', {5, 5, 5, 5, 2}},
    {'W', {5, 5, 7, 7, 5}}, {'X', {5, 5, 2, 5, 5}}, {'Y', {5, 5, 2, 2, 2}}, {'Z', {7, 1, 2, 4, 7}},
    {' ', {0, 0, 0, 0, 0}}, {'.', {0, 0, 0, 0, 2}}, {',', {0, 0, 0, 2, 4}}, {':', {0, 2, 0, 2, 0}},
    {'-', {0, 0, 7, 0, 0}}, {'_', {0, 0, 0, 0, 7}}, {'/', {1, 1, 2, 4, 4}}, {'(', {1, 2, 2, 2, 1}},
    {')', {4, 2, 2, 2, 4}}, {'%', {5, 1, 2, 4, 5}}, {'=', {0, 7, 0, 7, 0}}, {'+', {0, 2, 7, 2, 0}},
    {'!', {2, 2, 2, 0, 2}}, {'?', {6, 1, 2, 0, 2}}, {'*', {0, 5, 2, 5, 0}}, {'[', {3, 2, 2, 2, 3}},
    {']', {6, 2, 2, 2, 6}},
};

const Glyph& GlyphOf(char c)
{
    const char upper = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    const Glyph* unknown = nullptr;
    for (const Glyph& glyph : kFont) {
        if (glyph.c == upper) return glyph;
        if (glyph.c == '?') unknown = &glyph;
    }
    return *unknown;
}

// A glyph's 3 pixels and a pixel of space.
constexpr int kAdvance = 4;

}  // namespace

CGeoRegion2DNode* TextOverlay(const std::string& text, int x, int y, int scale, uint32_t color)
{
    CRgn pixels;
    pixels.CreateRectRgn(0, 0, 0, 0);
    CRgn pixel;
    pixel.CreateRectRgn(0, 0, 0, 0);
    for (size_t i = 0; i < text.size(); ++i) {
        const Glyph& glyph = GlyphOf(text[i]);
        const int left = x + static_cast<int>(i) * kAdvance * scale;
        for (int row = 0; row < 5; ++row) {
            // Neighbouring pixels of a row go in one rectangle.
            for (int column = 0; column < 3; ++column) {
                if ((glyph.rows[row] >> (2 - column) & 1) == 0) continue;
                int end = column + 1;
                while (end < 3 && (glyph.rows[row] >> (2 - end) & 1) != 0) ++end;
                pixel.DeleteObject();
                pixel.CreateRectRgn(left + column * scale, y + row * scale, left + end * scale, y + (row + 1) * scale);
                pixels.CombineRgn(&pixels, &pixel, RGN_OR);
                column = end;
            }
        }
    }
    return new CGeoRegion2DNode(pixels, color, 0, color);
}

int TextWidth(const std::string& text, int scale)
{
    return static_cast<int>(text.size()) * kAdvance * scale;
}

}  // namespace brell::view
