#pragma once

// Process-wide state of the library. It exists, empty, before start-up runs
// and is destroyed only after shut-down has finished with it.

#include "diag/Diagnostic.h"

#include <brelldata/core/Attribute.h>
#include <brelldata/core/NodeRegistry.h>
#include <brelldata/platform/DApi.h>

#include <map>
#include <string>

namespace brell {

struct ProcessState {
    diag::DiagnosticState diagnostics;
    std::map<std::string, NodeFactory, std::less<>> nodeTypes;
    CStandardAttribute configuration;
    CDApiManager procedures;
};

ProcessState& Process();

}  // namespace brell
