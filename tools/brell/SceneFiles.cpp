#include "SceneFiles.h"

#include <brelldata/io/SceneFile.h>

namespace brell::tool {

CBaseNode* LoadSceneFile(const std::string& path)
{
    return io::LoadScene(path);
}

void SaveSceneFile(CBaseNode* root, const std::string& path)
{
    io::SaveScene(root, path);
}

}  // namespace brell::tool
