#include "SceneFiles.h"

#include <brelldata/io/FileError.h>

// Scene files are not in the file library yet; until they are, both calls
// refuse with the error they will throw for a file they cannot handle.

namespace brell::tool {

namespace {

[[noreturn]] void Unavailable(const std::string& path)
{
    throw io::FileError::InFile(path, "a build with scene files", "scene files are not available yet");
}

}  // namespace

CBaseNode* LoadSceneFile(const std::string& path)
{
    Unavailable(path);
}

void SaveSceneFile(CBaseNode*, const std::string& path)
{
    Unavailable(path);
}

}  // namespace brell::tool
