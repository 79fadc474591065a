#pragma once

// The whole public interface of BrellData.

#include <brelldata/core/Attribute.h>
#include <brelldata/core/BaseNode.h>
#include <brelldata/core/Block.h>
#include <brelldata/core/Config.h>
#include <brelldata/core/NodeRegistry.h>
#include <brelldata/core/NodeStream.h>
#include <brelldata/core/Ref.h>
#include <brelldata/core/RefNode.h>
#include <brelldata/core/Tree.h>
#include <brelldata/core/Walk.h>
#include <brelldata/platform/DataManager.h>
#include <brelldata/platform/Region.h>
#include <brelldata/scan/DataStore.h>
#include <brelldata/scan/Normal.h>
#include <brelldata/scan/Records.h>
#include <brelldata/shared/NameList.h>
#include <brelldata/shared/SharedObjects.h>
