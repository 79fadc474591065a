#pragma once

#include <brelldata/core/Tree.h>

#include <functional>
#include <string>

class CBaseNode;

// brell view: a window on a scene or scan, for looking at it and cutting
// away what does not belong.

namespace brell::view {

struct Settings {
    // Named in the title and the status line.
    std::string name;
    // Reads the file; called on a thread of its own while the window shows
    // progress. Throws what the file library throws.
    std::function<CTree()> open;
    // Saves the cleaned scene (Ctrl+S), safely. Throws on failure.
    std::function<void(CBaseNode*)> save;
    int width = 1024;
    int height = 768;
    // The geometry procedure to show scan data with; empty: texture when
    // the scene has images, else smooth.
    std::string mode;
    // A file of input events played instead of waiting for the user's (see
    // README); the viewer ends with it.
    std::string replay;
    // Prints the frame times when the window closes.
    bool timing = false;
};

// Opens the window and runs until the user quits; the exit status: 0, or 1
// with one line on standard error when the file or the window fails.
int Run(const Settings& settings);

}  // namespace brell::view
