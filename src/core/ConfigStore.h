#pragma once

#include <brelldata/core/Attribute.h>

namespace brell {

// The process's configuration values, kept with the rest of the process state.
CStandardAttribute& ConfigurationStore();

}  // namespace brell
