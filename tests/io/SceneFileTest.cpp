// Scene files: round trips, atomic replacement, and checked loading of every
// prefix and of hostile files.

#include "scan/ScanFixtures.h"
#include "support/Bytes.h"
#include "support/ScratchFolder.h"

#include <brelldata/core/NodeStream.h>
#include <brelldata/core/RefNode.h>
#include <brelldata/core/Tree.h>
#include <brelldata/io/SceneFile.h>
#include <brelldata/scan/ModelNodes.h>

#include "io/FileBytes.h"
#include "io/StreamLimit.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <xxhash.h>

#include <algorithm>
#include <cstring>
#include <csignal>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <sys/resource.h>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;
using brell::io::FileError;
using brell::test::Bytes;

std::vector<unsigned char> StreamOf(CBaseNode* node)
{
    std::vector<unsigned char> stream(static_cast<size_t>(SizeOfByte(node)));
    WriteNode(stream.data(), node);
    return stream;
}

// A scene file around a stream, built by hand.
std::string SceneFileOf(const std::vector<unsigned char>& stream)
{
    Bytes header;
    header.Raw({'B', 'R', 'E', 'L', 'S', 'C', 'N', 0}).I32(1).I32(0).I32(int64_t(stream.size())).I32(0);
    const uint64_t hash = XXH3_64bits(stream.data(), stream.size());
    header.I32(int64_t(hash & 0xFFFFFFFF)).I32(int64_t(hash >> 32));
    std::string file(header.Data().begin(), header.Data().end());
    return file + std::string(stream.begin(), stream.end());
}

struct SceneFolder : brell::test::ScratchFolder {
    // R(A, B) with attributes and a reference node.
    CTree MakeScene()
    {
        CBaseNode* r = CBaseNode::Create();
        r->SetName("scene");
        r->SetAttributeInt("shots", 2);
        CBaseNode* a = CBaseNode::Create();
        a->SetAttributeString("label", "first", 6);
        r->AppendChild(a);
        r->AppendChild(CRefNode::Create());
        return CTree(r);
    }
};

TEST_F(SceneFolder, SavedScenesLoadBackAndEveryPrefixIsRefused)
{
    CTree scene = MakeScene();
    const std::string file = SceneFileOf(StreamOf(scene.Root()));
    const fs::path path = folder / "scene.brs";
    const mode_t mask = umask(022);
    brell::io::SaveScene(scene, path);
    umask(mask);
    EXPECT_EQ(Read(path), file);
    EXPECT_EQ(fs::status(path).permissions(), fs::perms(0644));  // those of any new file

    CTree loaded(brell::io::LoadScene(path));
    EXPECT_EQ(StreamOf(loaded.Root()), StreamOf(scene.Root()));
    EXPECT_EQ(Entries(), 1);

    for (size_t size = 0; size < file.size(); ++size) {
        SCOPED_TRACE(size);
        EXPECT_THROW(brell::io::LoadSceneFromMemory(std::string_view(file).substr(0, size), "cut"), FileError);
    }
    EXPECT_THROW(brell::io::LoadScene(folder / "none.brs"), FileError);
}

// Stores of several output buffers each, so that rows and runs cross the
// buffers' ends, beside one node of every scan class and plain nodes.
TEST_F(SceneFolder, AScanSceneIsSavedAsTheStreamThatWriteNodeMakes)
{
    brell::test::Scene scene;
    scene.model->AppendVertex(100'000);
    for (int i = 0; i < 300'000; ++i) scene.mesh->polygons->rows.push_back({{i, i + 1, i + 2, i + 3}, 1 + i % 4});
    scene.image->image->AppendRows(400'000);
    const fs::path path = folder / "scan.scene";
    brell::io::SaveScene(scene.tree, path);
    EXPECT_EQ(Read(path), SceneFileOf(StreamOf(scene.tree.Root())));
}

TEST_F(SceneFolder, AFailedSaveLeavesTheOldFileAndNoTemporaryOne)
{
    const fs::path path = folder / "scene.brs";
    CTree small = MakeScene();
    brell::io::SaveScene(small, path);
    const std::string before = Read(path);

    CTree large = MakeScene();
    std::string text(1 << 20, 'x');
    large.Root()->SetAttributeString("text", text.c_str(), int(text.size()) + 1);
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{}, original{};
    getrlimit(RLIMIT_FSIZE, &original);
    limit = original;
    limit.rlim_cur = 4096;
    setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_THROW(brell::io::SaveScene(large, path), FileError);
    setrlimit(RLIMIT_FSIZE, &original);

    EXPECT_EQ(Read(path), before);
    EXPECT_EQ(Entries(), 1);
    EXPECT_THROW(brell::io::SaveScene(nullptr, path), FileError);
}

// Loads read scene files mapped in place; another program may cut one short meanwhile.
TEST_F(SceneFolder, AMappedFileCutShortReadsZerosPastItsEndAndSaysSo)
{
    const std::string path = Write("cut.scene", std::string(3 << 16, 'x'));
    std::optional<brell::io::MappedFile> mapped = brell::io::MappedFile::Map(path);
    ASSERT_TRUE(mapped.has_value());
    fs::resize_file(path, 1000);
    const volatile char* bytes = mapped->View().data();
    EXPECT_EQ(bytes[999], 'x');
    EXPECT_FALSE(mapped->Cut());
    EXPECT_EQ(bytes[2 << 16], '\0');
    EXPECT_TRUE(mapped->Cut());
}

TEST(SceneFile, HostileFilesEachGiveTheirOwnError)
{
    // A record of a childless node with no name whose data block is an empty attribute block.
    const auto record = [](const char* type = "CBaseNode") {
        return Bytes().I32(0).I32(0).Str(type).Str("").I32(4).I32(0).Data();
    };
    std::string tampered = SceneFileOf(record());
    tampered.back() ^= 1;
    std::vector<unsigned char> trailing = record();
    trailing.insert(trailing.end(), {1, 2, 3});
    // The node stream's own refusals are those of a bounded read, at their place in the file.
    const std::pair<std::string, const char*> cases[] = {
        {tampered, "hostile: byte 24: expected the hash of the stream, found a different hash"},
        {SceneFileOf(trailing), "hostile: byte 67: expected the end of the stream, found 3 more bytes"},
        {SceneFileOf(record("CNoSuchNode")),
         "hostile: byte 32: expected a node stream, found unregistered node type \"CNoSuchNode\""},
    };
    for (const auto& c : cases) {
        EXPECT_THAT([&] { CTree(brell::io::LoadSceneFromMemory(c.first, "hostile")); },
                    testing::ThrowsMessage<FileError>(c.second));
    }
}

// An attribute of an empty name would be written and not read, and every record after
// it read from the wrong place: the save refuses the tree before anything is written.
TEST_F(SceneFolder, ATreeThatWouldNotLoadBackIsNotSaved)
{
    CTree scene = MakeScene();
    CBaseNode* a = scene.Root()->GetChild(0);
    a->SetName("A");
    a->SetAttributeInt("", 1);
    const fs::path path = folder / "unnamed.brs";
    EXPECT_THAT([&] { brell::io::SaveScene(scene, path); },
                testing::ThrowsMessage<FileError>(path.string() +
                                                  ": expected attribute names that are not empty, as an empty one "
                                                  "does not load back, found one on CBaseNode \"A\""));
    EXPECT_FALSE(fs::exists(path));
}

// A polygon row of 5 corners makes the mesh's polygon store fail to read; the node
// reader would leave the mesh without polygons, the checked load refuses the file.
TEST(SceneFile, AStoreThatDoesNotReadIsRefusedNamingItsNode)
{
    CMeshNode* mesh = static_cast<CMeshNode*>(CMeshNode::Create());
    mesh->SetName("scan");
    mesh->polygons->rows.push_back({{101, 102, 103, 0}, 3});
    CTree tree(mesh);
    std::vector<unsigned char> stream = StreamOf(mesh);
    const Bytes row = Bytes().I32(3).I32(101);
    const auto found = std::search(stream.begin(), stream.end(), row.Data().begin(), row.Data().end());
    ASSERT_NE(found, stream.end());
    *found = 5;
    const size_t storeOffset = brell::io::kSceneHeaderBytes + static_cast<size_t>(found - stream.begin()) - 8;
    EXPECT_THAT([&] { CTree(brell::io::LoadSceneFromMemory(SceneFileOf(stream), "hostile")); },
                testing::ThrowsMessage<FileError>("hostile: byte " + std::to_string(storeOffset) +
                                                  ": expected a node stream, found a store that does not read in "
                                                  "CMeshNode \"scan\""));
}

// A chain a million records deep: whole, it loads; cut short, it is refused.
TEST(SceneFile, AChainAMillionDeepLoadsOrIsRefusedWithoutCrashing)
{
    constexpr int kDepth = 1'000'000;
    const std::vector<unsigned char> link = Bytes().I32(0).I32(1).Str("CBaseNode").Str("").I32(4).I32(0).Data();
    std::vector<unsigned char> chain;
    chain.reserve(link.size() * kDepth);
    for (int i = 0; i < kDepth; ++i) chain.insert(chain.end(), link.begin(), link.end());
    chain[chain.size() - link.size() + 4] = 0;  // the last record's child count

    CTree loaded(brell::io::LoadSceneFromMemory(SceneFileOf(chain), "deep"));
    int depth = 0;
    for (CBaseNode* node = loaded.Root(); node != nullptr; node = node->GetFirstChild()) ++depth;
    EXPECT_EQ(depth, kDepth);
    chain.resize(chain.size() - link.size());
    EXPECT_THROW(CTree(brell::io::LoadSceneFromMemory(SceneFileOf(chain), "deep")), FileError);
}

// R(A(M1, M2, B), M3, C) with models of 100 vertices (about 2.4 KB each).
CTree WideScene()
{
    auto model = [](int first) {
        auto* made = static_cast<CModelNode*>(CModelNode::Create());
        made->AppendVertex(100);
        for (int i = 0; i < 100; ++i) *made->GetVertex(i) = {double(first + i), 1, 2};
        return made;
    };
    auto named = [](const char* name) {
        CBaseNode* made = CBaseNode::Create();
        made->SetName(name);
        return made;
    };
    CBaseNode* r = named("R");
    CBaseNode* a = named("A");
    a->AppendChild(model(0));
    a->AppendChild(model(100));
    a->AppendChild(named("B"));
    r->AppendChild(a);
    r->AppendChild(model(200));
    r->AppendChild(named("C"));
    return CTree(r);
}

// Under a limit of 48 KB a stream takes 3 KB: R(A(B), M3, C), then M1, then M2.
TEST_F(SceneFolder, ATreeLargerThanOneStreamIsSavedAsSeveralAndLoadsBackInOrder)
{
    brell::io::detail::NodeStreamLimitScope limit(48 << 10);
    CTree scene = WideScene();
    const fs::path path = folder / "wide.scene";
    brell::io::SaveScene(scene, path);
    const std::string file = Read(path);
    uint32_t version = 0;
    std::memcpy(&version, file.data() + 8, sizeof version);  // after the magic
    EXPECT_EQ(version, brell::io::kSceneStreamsFormatVersion);
    EXPECT_EQ(brell::io::MeasureSceneStreams(scene.Root(), "wide").streams, 3u);
    CTree loaded(brell::io::LoadScene(path));
    EXPECT_EQ(StreamOf(loaded.Root()), StreamOf(scene.Root()));
    CTree fromMemory(brell::io::LoadSceneFromMemory(file, "wide"));
    EXPECT_EQ(StreamOf(fromMemory.Root()), StreamOf(scene.Root()));
}

TEST_F(SceneFolder, EveryPrefixAndEveryChangedByteOfAFileOfSeveralStreamsIsRefused)
{
    brell::io::detail::NodeStreamLimitScope limit(48 << 10);
    CTree scene = WideScene();
    const fs::path path = folder / "wide.scene";
    brell::io::SaveScene(scene, path);
    const std::string file = Read(path);
    for (size_t size = 0; size < file.size(); size += 7) {
        SCOPED_TRACE(size);
        EXPECT_THROW(brell::io::LoadSceneFromMemory(std::string_view(file).substr(0, size), "cut"), FileError);
    }
    for (size_t at = 0; at < file.size(); at += 11) {
        SCOPED_TRACE(at);
        std::string changed = file;
        changed[at] = char(changed[at] ^ 0x40);
        EXPECT_THROW(CTree(brell::io::LoadSceneFromMemory(changed, "changed")), FileError);
    }
}

// A model whose vertices pass 2 GB.
TEST_F(SceneFolder, ANodeThatNoStreamCanHoldIsRefusedNamingItsSizeBeforeAnythingIsWritten)
{
    CTree scene(brell::test::UntouchedModel(90'000'000));
    scene.Root()->SetName("huge");
    const fs::path path = folder / "huge.scene";
    EXPECT_THAT([&] { brell::io::SaveScene(scene, path); },
                testing::ThrowsMessage<FileError>(path.string() +
                                                  ": expected nodes of at most 2147483647 bytes each, found "
                                                  "CModelNode \"huge\" of 2160000012 bytes"));
    EXPECT_FALSE(fs::exists(path));
}

// Two models of 1.08 GB each, never touched: each fits a stream, together they do not.
TEST(SceneFile, AScenePast2GBIsMeasuredInFullAndNeedsSeveralStreams)
{
    CTree scene(CBaseNode::Create());
    for (int i = 0; i < 2; ++i) scene.Root()->AppendChild(brell::test::UntouchedModel(45'000'000));
    const brell::io::SceneStreams streams = brell::io::MeasureSceneStreams(scene.Root(), "large");
    EXPECT_EQ(streams.bytes, 35 + 2 * (32 + 8 + 24 * uint64_t(45'000'000) + 4));  // root, then frame and block
    EXPECT_EQ(streams.streams, 3u);
}

}  // namespace
