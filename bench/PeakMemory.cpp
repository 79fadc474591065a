// The peak memory of one import, load or export, each run in a fresh process
// so that nothing before it counts:
//   brell_peak write-mesh PATH             the 1M-vertex, 2M-triangle mesh as binary PLY
//   brell_peak write-mesh-scene PATH       the same mesh saved as a scene (one stream)
//   brell_peak write-cloud POINTS PATH [coloured]
//   brell_peak import PATH                 ImportScan of a scan file
//   brell_peak load PATH                   LoadScene of a scene file
//   brell_peak export IN OUT               ImportScan or LoadScene, then ExportScan
//   brell_peak save IN OUT                 ImportScan or LoadScene, then SaveScene
// Prints the process's peak resident memory beside the bytes of the stores
// the scene holds, and the limit of 1.25 times those plus 16 MB.

#include <brelldata/core/BaseNode.h>
#include <brelldata/io/ScanFormats.h>
#include <brelldata/io/ScanScene.h>
#include <brelldata/io/SceneFile.h>
#include <brelldata/scan/ModelNodes.h>

#include "ScanShapes.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

#include <sys/resource.h>

namespace {

double Megabytes(double bytes)
{
    return bytes / (1 << 20);
}

// The bytes in use in the vertex, polygon and texture coordinate stores and
// the attributes of every model and mesh under root.
double StoreBytes(CBaseNode* root)
{
    double bytes = 0;
    std::vector<CBaseNode*> pending{root};
    while (!pending.empty()) {
        CBaseNode* node = pending.back();
        pending.pop_back();
        for (unsigned int i = 0; i < node->GetChildNum(); ++i) pending.push_back(node->GetChild(i));
        for (int i = 0; i < node->AttributeNumber(); ++i) {
            int size = 0, type = 0;
            node->QueryAttribute(node->AttributeName(i), &size, &type);
            bytes += size;
        }
        auto* model = brell::AsKindOf<CModelNode>(node);
        if (model == nullptr) continue;
        bytes += model->VertexNumber() * double{sizeof(VERTEX)};
        if (auto* mesh = brell::AsKindOf<CMeshNode>(node)) {
            bytes += static_cast<double>(mesh->polygons->rows.size() * sizeof(mesh->polygons->rows[0]));
            bytes += static_cast<double>(mesh->texCoords->rows.size() * sizeof(mesh->texCoords->rows[0]));
        }
    }
    return bytes;
}

CBaseNode* Open(const std::string& path)
{
    const bool scene = path.size() > 6 && path.compare(path.size() - 6, 6, ".scene") == 0;
    CBaseNode* root = scene ? brell::io::LoadScene(path) : brell::io::ImportScan(path);
    root->AddRef();
    return root;
}

int Run(const std::vector<std::string>& arguments)
{
    const std::string command = arguments.empty() ? "" : arguments[0];
    if (command == "write-mesh" && arguments.size() == 2) {
        brell::io::WriteScanFile(GridMesh(), arguments[1]);
        return 0;
    }
    if (command == "write-mesh-scene" && arguments.size() == 2) {
        CBaseNode* scene = brell::io::SceneOfGeometry(GridMesh(), "grid");
        scene->AddRef();
        brell::io::SaveScene(scene, arguments[1]);
        scene->Release();
        return 0;
    }
    if (command == "write-cloud" && arguments.size() >= 3) {
        const bool coloured = arguments.size() == 4 && arguments[3] == "coloured";
        brell::io::WriteScanFile(PointCloud(std::atoi(arguments[1].c_str()), coloured), arguments[2]);
        return 0;
    }
    const bool exporting = command == "export" && arguments.size() == 3;
    const bool saving = command == "save" && arguments.size() == 3;
    if (!exporting && !saving && !((command == "import" || command == "load") && arguments.size() == 2)) {
        std::fputs("usage: brell_peak write-mesh PATH | write-mesh-scene PATH | write-cloud POINTS PATH [coloured] | "
                   "import PATH | load PATH | export IN OUT | save IN OUT\n",
                   stderr);
        return 2;
    }
    CBaseNode* root = Open(arguments[1]);
    if (exporting) brell::io::ExportScan(root, arguments[2]);
    if (saving) brell::io::SaveScene(root, arguments[2]);
    const double stores = StoreBytes(root);
    root->Release();
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const double peak = static_cast<double>(usage.ru_maxrss) * 1024;
    const double limit = 1.25 * stores + (16 << 20);
    std::printf("%s %s: peak %.1f MB, stores %.1f MB, peak/stores %.2f, limit %.1f MB: %s\n", command.c_str(),
                arguments[1].c_str(), Megabytes(peak), Megabytes(stores), peak / stores, Megabytes(limit),
                peak <= limit ? "within" : "over");
    return peak <= limit ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv)
{
    try {
        return Run(std::vector<std::string>(argv + 1, argv + argc));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "brell_peak: %s\n", error.what());
        return 1;
    }
}
