#pragma once

// The whole public interface of BrellData.

#include <brelldata/core/Attribute.h>
#include <brelldata/core/BaseNode.h>
#include <brelldata/core/Block.h>
#include <brelldata/core/NodeRegistry.h>
#include <brelldata/core/Ref.h>
#include <brelldata/core/RefNode.h>
