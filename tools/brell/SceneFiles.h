#pragma once

#include <string>

class CBaseNode;

// Scene files as the tools use them: the file library's, behind two calls.

namespace brell::tool {

// The scene saved at path, a new root with count 0. Throws brell::io::FileError.
CBaseNode* LoadSceneFile(const std::string& path);
// Writes root and its subtree to path. Throws brell::io::FileError.
void SaveSceneFile(CBaseNode* root, const std::string& path);

}  // namespace brell::tool
