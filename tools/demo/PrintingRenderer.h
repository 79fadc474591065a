#pragma once

// The demo's renderer "Print": draw procedures for every geometry class that
// print, indented by depth, what they are asked to draw and to end.

constexpr const char* kPrintRenderer = "Print";

// The draw context that DrawTree hands to the procedures.
struct PrintContext {
    int depth = 0;
};

void RegisterPrintingRenderer();
void UnregisterPrintingRenderer();
