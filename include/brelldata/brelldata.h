#pragma once

// The whole public interface of BrellData.

#include <brelldata/camera/CameraData.h>
#include <brelldata/camera/CameraLayout.h>
#include <brelldata/camera/KameraData.h>
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
#include <brelldata/geo/GeoBaseNode.h>
#include <brelldata/geo/GroupNodes.h>
#include <brelldata/geo/LightCameraNodes.h>
#include <brelldata/geo/MeshNodes.h>
#include <brelldata/geo/OverlayNodes.h>
#include <brelldata/geo/VertexNodes.h>
#include <brelldata/platform/Archive.h>
#include <brelldata/platform/DApi.h>
#include <brelldata/platform/DataManager.h>
#include <brelldata/platform/Region.h>
#include <brelldata/scan/DataStore.h>
#include <brelldata/scan/LineNodes.h>
#include <brelldata/scan/ModelNodes.h>
#include <brelldata/scan/Normal.h>
#include <brelldata/scan/ObjectNodes.h>
#include <brelldata/scan/Records.h>
#include <brelldata/shared/NameList.h>
#include <brelldata/shared/SharedObjects.h>
