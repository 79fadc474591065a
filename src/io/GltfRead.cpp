#include <brelldata/io/Gltf.h>

#include <brelldata/io/ScanScene.h>
#include <brelldata/scan/LineNodes.h>
#include <brelldata/scan/ModelNodes.h>

#include "io/FileBytes.h"
#include "io/GltfLibrary.h"
#include "io/Png.h"
#include "io/SceneNodes.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <climits>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <new>
#include <numeric>
#include <optional>
#include <stdlib.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace brell::io {

namespace {

constexpr uint32_t kGlbMagic = 0x46546C67;  // "glTF"
constexpr uint32_t kJsonChunk = 0x4E4F534A, kBinChunk = 0x004E4942;
constexpr size_t kGlbHeader = 12, kChunkHeader = 8;

uint32_t WordAt(std::string_view bytes, size_t at)
{
    const auto* b = reinterpret_cast<const unsigned char*>(bytes.data() + at);
    return uint32_t{b[0]} | uint32_t{b[1]} << 8 | uint32_t{b[2]} << 16 | uint32_t{b[3]} << 24;
}

size_t Padded(size_t size)
{
    return (size + 3) / 4 * 4;
}

bool IsGlb(std::string_view bytes)
{
    return bytes.size() >= 4 && WordAt(bytes, 0) == kGlbMagic;
}

// Where a binary file's JSON and BIN chunks are (a BIN chunk of size 0 when
// there is none).
struct GlbChunks {
    size_t jsonAt = 0, jsonSize = 0, binAt = 0, binSize = 0;
};

// Checks the header and chunks of a binary file of size bytes, whose 32-bit
// words wordAt reads, which tinygltf trusts further than the file goes.
template <class ReadWord>
GlbChunks CheckGlb(size_t size, ReadWord wordAt, const std::string& name)
{
    GlbChunks chunks;
    if (size < kGlbHeader) throw FileError::AtByte(name, size, "a 12-byte glTF binary header", "the end of the file");
    if (wordAt(4) != 2) throw FileError::AtByte(name, 4, "glTF binary version 2", std::to_string(wordAt(4)));
    const uint64_t length = wordAt(8);
    if (length > size)
        throw FileError::AtByte(name, size, "the " + std::to_string(length) + " bytes the header gives",
                                "the end of the file");
    if (length < size)
        throw FileError::AtByte(name, 8, "the file's length, " + std::to_string(size) + " bytes",
                                std::to_string(length));
    for (size_t at = kGlbHeader, chunk = 0; at < length; ++chunk) {
        if (length - at < kChunkHeader)
            throw FileError::AtByte(name, at, "an 8-byte chunk header", "the end of the file");
        const uint64_t chunkLength = wordAt(at);
        if (chunkLength > length - at - kChunkHeader)
            throw FileError::AtByte(name, at,
                                    "a chunk length of at most the " + std::to_string(length - at - kChunkHeader) +
                                        " bytes left in the file",
                                    std::to_string(chunkLength));
        if (chunkLength % 4 != 0)
            throw FileError::AtByte(name, at, "a chunk length that is a multiple of 4", std::to_string(chunkLength));
        if (chunk == 0 && wordAt(at + 4) != kJsonChunk)
            throw FileError::AtByte(name, at + 4, "a JSON chunk first", std::to_string(wordAt(at + 4)));
        if (chunk == 0) chunks.jsonAt = at + kChunkHeader, chunks.jsonSize = chunkLength;
        if (chunk == 1 && wordAt(at + 4) == kBinChunk) chunks.binAt = at + kChunkHeader, chunks.binSize = chunkLength;
        at += kChunkHeader + chunkLength;
    }
    if (length == kGlbHeader) throw FileError::AtByte(name, kGlbHeader, "a JSON chunk", "the end of the file");
    return chunks;
}

// JSON parsers and tinygltf's reading of "extras" recurse once per level of
// nesting, so a file nested deeper than any glTF document is refused first.
void CheckNesting(std::string_view json, size_t offset, const std::string& name)
{
    constexpr int kMaxDepth = 64;
    int depth = 0;
    bool inString = false;
    for (size_t i = 0; i < json.size(); ++i) {
        const char c = json[i];
        if (inString) {
            if (c == '\\')
                ++i;
            else if (c == '"')
                inString = false;
            continue;
        }
        if (c == '"')
            inString = true;
        else if (c == '[' || c == '{') {
            if (++depth > kMaxDepth)
                throw FileError::AtByte(name, offset + i, "JSON nested at most 64 deep", "a 65th level");
        } else if (c == ']' || c == '}') {
            --depth;
        }
    }
}

void PutWord(std::string& bytes, uint32_t word)
{
    for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(word >> shift & 0xFF);
}

// tinygltf copies a binary file's buffer 0, its BIN chunk, whole. When
// that buffer is the chunk, tinygltf is given a copy of the file whose JSON
// makes the buffer one byte long, and the reader takes the buffer from the
// chunk itself: the file holding 1,000,000 vertices is not copied again. The
// copy; empty when the file is to be read as it is.
std::string WithoutBinChunk(std::string_view json, size_t binSize, uint64_t& buffer0Size, const std::string& name)
{
    nlohmann::json document = nlohmann::json::parse(json.begin(), json.end(), nullptr, false);
    if (document.is_discarded() || binSize == 0 || !document.is_object()) return {};
    const auto buffers = document.find("buffers");
    if (buffers == document.end() || !buffers->is_array() || buffers->empty()) return {};
    nlohmann::json& first = (*buffers)[0];
    if (!first.is_object() || first.contains("uri")) return {};
    const auto length = first.find("byteLength");
    if (length == first.end() || !length->is_number_unsigned()) return {};
    const uint64_t byteLength = length->get<uint64_t>();
    if (byteLength > binSize)
        throw FileError::InFile(
            name, "buffers[0].byteLength of at most the BIN chunk's " + std::to_string(binSize) + " bytes",
            std::to_string(byteLength));
    buffer0Size = byteLength;
    *length = 1;
    std::string text = document.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    text.resize(Padded(text.size()), ' ');
    std::string file;
    PutWord(file, kGlbMagic);
    PutWord(file, 2);
    PutWord(file, static_cast<uint32_t>(kGlbHeader + 2 * kChunkHeader + text.size() + 4));
    PutWord(file, static_cast<uint32_t>(text.size()));
    PutWord(file, kJsonChunk);
    file += text;
    PutWord(file, 4);
    PutWord(file, kBinChunk);
    PutWord(file, 0);
    return file;
}

// Where the reader may take files from: its folder (none for bytes in
// memory), and the first URI it refused.
struct FileRoom {
    std::string folder;
    std::optional<FileError> refusal;
    const std::string* name;
};

// The file uri names inside room's folder, following links; nothing when
// the URI leaves the folder or there is no folder, and room keeps why.
std::optional<std::string> PathInRoom(const std::string& joined, FileRoom& room)
{
    // tinygltf joins the folder and the URI with one slash, unless the folder ends in one.
    const size_t folderEnd = room.folder.empty() ? 0 : room.folder.size() + (room.folder.back() == '/' ? 0 : 1);
    const std::string uri = joined.substr(std::min(joined.size(), folderEnd));
    auto refuse = [&](const std::string& expected) {
        if (!room.refusal) room.refusal = FileError::InFile(*room.name, expected, "\"" + uri + "\"");
        return std::nullopt;
    };
    if (room.folder.empty()) return refuse("buffers and images inside the file (data URIs)");
    const bool leaves = uri.empty() || uri[0] == '/' || uri == ".." || uri.rfind("../", 0) == 0 ||
                        uri.find("/../") != std::string::npos ||
                        (uri.size() >= 3 && uri.compare(uri.size() - 3, 3, "/..") == 0);
    if (leaves) return refuse("a URI inside the file's folder (no \"..\", no absolute path)");
    const std::string path = room.folder + "/" + uri;
    char* real = realpath(path.c_str(), nullptr);
    char* realFolder = realpath(room.folder.c_str(), nullptr);
    const bool inside =
        real != nullptr && realFolder != nullptr && std::string(real).rfind(std::string(realFolder) + "/", 0) == 0;
    free(real);
    free(realFolder);
    if (!inside) return refuse("a file inside the file's folder");
    return path;
}

bool FileExistsInRoom(const std::string& path, void* room)
{
    return PathInRoom(path, *static_cast<FileRoom*>(room)).has_value();
}

std::string SamePath(const std::string& path, void*)
{
    return path;
}

bool ReadFileInRoom(std::vector<unsigned char>* out, std::string* error, const std::string& path, void* roomData)
{
    FileRoom& room = *static_cast<FileRoom*>(roomData);
    const std::optional<std::string> inside = PathInRoom(path, room);
    if (!inside) return false;
    try {
        RequireRegularFile(*inside);
        const FileBytes bytes = ReadWholeFile(*inside);
        out->assign(bytes.View().begin(), bytes.View().end());
        return true;
    } catch (const FileError& refusal) {
        if (!room.refusal) room.refusal = refusal;
        *error = refusal.what();
        return false;
    }
}

bool WriteNoFile(std::string*, const std::string&, const std::vector<unsigned char>&, void*)
{
    return false;
}

// Keeps an image's encoded bytes as they are; the reader decodes the one it
// keeps. Images in buffer views are taken from the view once it is checked.
bool KeepImageBytes(tinygltf::Image* image, int, std::string*, std::string*, int, int, const unsigned char* bytes,
                    int size, void*)
{
    if (image->bufferView < 0 && size > 0) image->image.assign(bytes, bytes + size);
    return true;
}

// The first line of tinygltf's error text.
std::string FirstLine(const std::string& text)
{
    const std::string line = text.substr(0, text.find('\n'));
    return line.empty() ? "an unreadable glTF document" : "\"" + line + "\"";
}

// A binary file left on disk while its document is read: the reader takes
// the elements it converts from it a piece at a time, each while it is in
// the cache, and holds in memory whole only the views it needs whole.
class FileOnDisk {
public:
    explicit FileOnDisk(const std::string& path) : path_(path)
    {
        RequireRegularFile(path);
        descriptor_ = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        struct stat status {};
        if (descriptor_ < 0 || fstat(descriptor_, &status) != 0) {
            const std::string reason = std::strerror(errno);
            if (descriptor_ >= 0) close(descriptor_);
            throw FileError::InFile(path, "a readable file", reason);
        }
        size_ = static_cast<size_t>(status.st_size);
    }
    FileOnDisk(const FileOnDisk&) = delete;
    FileOnDisk& operator=(const FileOnDisk&) = delete;
    ~FileOnDisk() { close(descriptor_); }

    size_t Size() const { return size_; }

    // count bytes from at into to; FileError when the file ends before them.
    void Read(size_t at, size_t count, char* to) const
    {
        for (size_t done = 0; done < count;) {
            const ssize_t got = pread(descriptor_, to + done, count - done, static_cast<off_t>(at + done));
            if (got < 0 && errno == EINTR) continue;
            if (got < 0) throw FileError::AtByte(path_, at + done, "readable bytes", std::strerror(errno));
            if (got == 0)
                throw FileError::AtByte(path_, at + done, std::to_string(size_) + " bytes", "the end of the file");
            done += static_cast<size_t>(got);
        }
        read_ = std::min(size_, read_ + count);
        ReportFileProgress(read_, size_);
    }

    uint32_t WordAt(size_t at) const
    {
        char word[4];
        Read(at, sizeof word, word);
        return brell::io::WordAt({word, sizeof word}, 0);
    }

    // count bytes from at, read once and kept while the file is open.
    std::string_view Resident(size_t at, size_t count) const
    {
        auto [place, fresh] = resident_.try_emplace({at, count}, count);
        if (fresh) {
            try {
                Read(at, count, place->second.Data());
            } catch (...) {
                resident_.erase(place);
                throw;
            }
        }
        return place->second.View();
    }

private:
    std::string path_;
    int descriptor_ = -1;
    size_t size_ = 0;
    mutable size_t read_ = 0;
    mutable std::map<std::pair<size_t, size_t>, FileBytes> resident_;
};

// Where a buffer's or a buffer view's bytes are: in memory from bytes, or,
// when file is set, in the file from fileAt.
struct ViewPlace {
    const char* bytes;
    size_t size;
    const FileOnDisk* file;
    size_t fileAt;
};

// A parsed file. A binary file's buffer 0 may be its BIN chunk, which
// tinygltf is not given.
struct GltfModel : tinygltf::Model {
    std::optional<ViewPlace> buffer0;
};

// tinygltf's reading of a document, JSON text or a binary file.
GltfModel Load(std::string_view bytes, bool binary, const std::string& name, const std::string& folder)
{
    FileRoom room{folder, std::nullopt, &name};
    tinygltf::TinyGLTF loader;
    loader.SetFsCallbacks({FileExistsInRoom, SamePath, ReadFileInRoom, WriteNoFile, &room});
    loader.SetImageLoader(KeepImageBytes, nullptr);
    GltfModel model;
    std::string error, warning;
    bool loaded = false;
    try {
        const auto size = static_cast<unsigned int>(bytes.size());
        loaded = binary
                     ? loader.LoadBinaryFromMemory(&model, &error, &warning,
                                                   reinterpret_cast<const unsigned char*>(bytes.data()), size, folder)
                     : loader.LoadASCIIFromString(&model, &error, &warning, bytes.data(), size, folder);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& failure) {
        error = failure.what();
    }
    if (room.refusal) throw *room.refusal;
    if (!loaded) throw FileError::InFile(name, "a glTF 2.0 document", FirstLine(error));
    if (model.asset.version.rfind("2.", 0) != 0)
        throw FileError::InFile(name, "asset.version 2.x", "\"" + model.asset.version + "\"");
    return model;
}

void RequireBelow4GiB(size_t size, const std::string& name)
{
    if (size > UINT_MAX) throw FileError::InFile(name, "a glTF file below 4 GiB", std::to_string(size));
}

// The parsed file, which keeps pointing into bytes.
GltfModel Parse(std::string_view bytes, const std::string& name, const std::string& folder)
{
    RequireBelow4GiB(bytes.size(), name);
    if (!IsGlb(bytes)) {
        CheckNesting(bytes, 0, name);
        return Load(bytes, false, name, folder);
    }
    const GlbChunks chunks = CheckGlb(
        bytes.size(), [&](size_t at) { return WordAt(bytes, at); }, name);
    const std::string_view json = bytes.substr(chunks.jsonAt, chunks.jsonSize);
    CheckNesting(json, chunks.jsonAt, name);
    uint64_t buffer0Size = 0;
    const std::string smaller = WithoutBinChunk(json, chunks.binSize, buffer0Size, name);
    if (smaller.empty()) return Load(bytes, true, name, folder);
    GltfModel model = Load(smaller, true, name, folder);
    model.buffer0 = ViewPlace{bytes.data() + chunks.binAt, buffer0Size, nullptr, 0};
    return model;
}

// The parsed binary file, its BIN chunk left in the file; nothing when the
// file is to be read whole, for its BIN chunk is not its buffer 0.
std::optional<GltfModel> ParseOnDisk(const FileOnDisk& file, const std::string& name, const std::string& folder)
{
    RequireBelow4GiB(file.Size(), name);
    const GlbChunks chunks = CheckGlb(
        file.Size(), [&](size_t at) { return file.WordAt(at); }, name);
    std::string json(chunks.jsonSize, '\0');
    file.Read(chunks.jsonAt, json.size(), json.data());
    CheckNesting(json, chunks.jsonAt, name);
    uint64_t buffer0Size = 0;
    const std::string smaller = WithoutBinChunk(json, chunks.binSize, buffer0Size, name);
    if (smaller.empty()) return std::nullopt;
    GltfModel model = Load(smaller, true, name, folder);
    model.buffer0 = ViewPlace{nullptr, buffer0Size, &file, chunks.binAt};
    return model;
}

std::string Item(const char* array, size_t index)
{
    return std::string(array) + "[" + std::to_string(index) + "]";
}

// Index into an array of count items, or FileError naming path.
size_t CheckedIndex(int index, size_t count, const std::string& path, const std::string& name)
{
    if (index < 0 || static_cast<size_t>(index) >= count)
        throw FileError::InFile(name, path + " below " + std::to_string(count), std::to_string(index));
    return static_cast<size_t>(index);
}

// Where a buffer view's bytes are, checked against its buffer.
ViewPlace PlaceOfView(const GltfModel& model, int index, const std::string& path, const std::string& name)
{
    const size_t v = CheckedIndex(index, model.bufferViews.size(), path, name);
    const tinygltf::BufferView& view = model.bufferViews[v];
    const size_t b = CheckedIndex(view.buffer, model.buffers.size(), Item("bufferViews", v) + ".buffer", name);
    const bool chunk = b == 0 && model.buffer0;
    const size_t size = chunk ? model.buffer0->size : model.buffers[b].data.size();
    if (view.byteOffset > size || view.byteLength > size - view.byteOffset)
        throw FileError::InFile(
            name,
            Item("bufferViews", v) + " to end within " + Item("buffers", b) + "'s " + std::to_string(size) + " bytes",
            "bytes " + std::to_string(view.byteOffset) + " to " +
                std::to_string(static_cast<unsigned __int128>(view.byteOffset) + view.byteLength >
                                       std::numeric_limits<uint64_t>::max()
                                   ? std::numeric_limits<uint64_t>::max()
                                   : view.byteOffset + view.byteLength));
    if (!chunk)
        return {reinterpret_cast<const char*>(model.buffers[b].data.data()) + view.byteOffset, view.byteLength, nullptr,
                0};
    const ViewPlace& buffer = *model.buffer0;
    if (buffer.file != nullptr) return {nullptr, view.byteLength, buffer.file, buffer.fileAt + view.byteOffset};
    return {buffer.bytes + view.byteOffset, view.byteLength, nullptr, 0};
}

// A buffer view's bytes in memory, checked against its buffer.
std::string_view ViewBytes(const GltfModel& model, int index, const std::string& path, const std::string& name)
{
    const ViewPlace place = PlaceOfView(model, index, path, name);
    if (place.file != nullptr) return place.file->Resident(place.fileAt, place.size);
    return {place.bytes, place.size};
}

template <class T>
T Load(const char* at)
{
    T value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

// An accessor's elements, every one checked to lie in its buffer view: in
// memory from first, or, when file is set, in the file from fileAt.
struct Elements {
    const char* first;
    size_t stride;
    size_t count;
    int componentType;
    int components;
    std::string path;
    size_t elementSize;
    const FileOnDisk* file = nullptr;
    size_t fileAt = 0;

    template <class T>
    T Component(size_t element, int component) const
    {
        return Load<T>(first + element * stride + component * sizeof(T));
    }
    // Component as a float; integers as normalized values.
    float Unit(size_t element, int component) const
    {
        switch (componentType) {
            case TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE:
                return Component<uint8_t>(element, component) / 255.0f;
            case TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT:
                return Component<uint16_t>(element, component) / 65535.0f;
            default:
                return Component<float>(element, component);
        }
    }
};

Elements Access(const GltfModel& model, int index, const std::string& path, const std::string& name)
{
    const size_t a = CheckedIndex(index, model.accessors.size(), path, name);
    const tinygltf::Accessor& accessor = model.accessors[a];
    const std::string where = Item("accessors", a);
    if (accessor.sparse.isSparse) throw FileError::InFile(name, where + " without sparse storage", "sparse storage");
    const int componentSize = tinygltf::GetComponentSizeInBytes(static_cast<uint32_t>(accessor.componentType));
    const int components = tinygltf::GetNumComponentsInType(static_cast<uint32_t>(accessor.type));
    if (componentSize < 1 || components < 1)
        throw FileError::InFile(name, where + " of a known type and component type",
                                std::to_string(accessor.type) + " of " + std::to_string(accessor.componentType));
    const ViewPlace view = PlaceOfView(model, accessor.bufferView, where + ".bufferView", name);
    const size_t start = std::min(accessor.byteOffset, view.size);
    const size_t elementSize = static_cast<size_t>(componentSize) * components;
    const size_t stride = model.bufferViews[accessor.bufferView].byteStride;
    if (stride != 0 && stride < elementSize)
        throw FileError::InFile(
            name, Item("bufferViews", accessor.bufferView) + ".byteStride of at least " + std::to_string(elementSize),
            std::to_string(stride));
    Elements elements{view.file != nullptr ? nullptr : view.bytes + start,
                      stride != 0 ? stride : elementSize,
                      accessor.count,
                      accessor.componentType,
                      components,
                      where,
                      elementSize,
                      view.file,
                      view.fileAt + start};
    if (accessor.count == 0) return elements;
    const unsigned __int128 end = static_cast<unsigned __int128>(accessor.byteOffset) +
                                  (accessor.count - 1) * static_cast<unsigned __int128>(elements.stride) + elementSize;
    if (end > view.size)
        throw FileError::InFile(name,
                                where + " (" + std::to_string(accessor.count) + " elements of " +
                                    std::to_string(elementSize) + " bytes) to end within " +
                                    Item("bufferViews", accessor.bufferView) + "'s " + std::to_string(view.size) +
                                    " bytes",
                                end > std::numeric_limits<uint64_t>::max()
                                    ? std::string("an end past 2^64")
                                    : "an end at byte " + std::to_string(static_cast<uint64_t>(end)));
    return elements;
}

// The elements in memory, read whole from the file when they are there.
Elements Resident(Elements elements)
{
    if (elements.file == nullptr || elements.count == 0) return elements;
    const size_t size = (elements.count - 1) * elements.stride + elements.elementSize;
    elements.first = elements.file->Resident(elements.fileAt, size).data();
    elements.file = nullptr;
    return elements;
}

// Calls convert(first, from, count) for the elements from .. from + count - 1,
// first pointing at element from: once for elements in memory, a piece at a
// time for elements in the file, never splitting a group of group elements.
template <class Convert>
void EachPiece(const Elements& elements, size_t group, Convert convert)
{
    if (elements.file == nullptr || elements.count == 0) {
        convert(elements.first, 0, elements.count);
        return;
    }
    // Small enough to stay in the second-level cache between its read and its conversion.
    constexpr size_t kPieceBytes = size_t{256} << 10;
    const size_t perPiece = std::max<size_t>(1, kPieceBytes / (group * elements.stride)) * group;
    auto bytes = [&](size_t count) { return (count - 1) * elements.stride + elements.elementSize; };
    FileBytes piece(bytes(std::min(perPiece, elements.count)));
    for (size_t from = 0; from < elements.count; from += perPiece) {
        const size_t count = std::min(perPiece, elements.count - from);
        elements.file->Read(elements.fileAt + from * elements.stride, bytes(count), piece.Data());
        convert(piece.Data(), from, count);
    }
}

void RequireKind(const Elements& elements, std::initializer_list<int> componentTypes,
                 std::initializer_list<int> componentCounts, const std::string& expected, const std::string& name)
{
    bool typeFits = false, countFits = false;
    for (int type : componentTypes) typeFits = typeFits || type == elements.componentType;
    for (int count : componentCounts) countFits = countFits || count == elements.components;
    if (!typeFits || !countFits)
        throw FileError::InFile(
            name, elements.path + " of " + expected,
            std::to_string(elements.components) + " components of type " + std::to_string(elements.componentType));
}

// A column-major 4x4 transform.
struct Transform {
    double m[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

    bool IsIdentity() const
    {
        static const Transform identity;
        return std::memcmp(m, identity.m, sizeof m) == 0;
    }
    Transform Then(const Transform& local) const
    {
        Transform product;
        for (int column = 0; column < 4; ++column)
            for (int row = 0; row < 4; ++row) {
                double sum = 0;
                for (int k = 0; k < 4; ++k) sum += m[k * 4 + row] * local.m[column * 4 + k];
                product.m[column * 4 + row] = sum;
            }
        return product;
    }
    VERTEX Apply(const VERTEX& p) const
    {
        return {m[0] * p.x + m[4] * p.y + m[8] * p.z + m[12], m[1] * p.x + m[5] * p.y + m[9] * p.z + m[13],
                m[2] * p.x + m[6] * p.y + m[10] * p.z + m[14]};
    }
    // A normal by the inverse transpose of the upper 3x3, made unit length again.
    CVector_3<float> ApplyToNormal(const CVector_3<float>& n) const
    {
        const double a = m[0], b = m[4], c = m[8], d = m[1], e = m[5], f = m[9], g = m[2], h = m[6], i = m[10];
        // The cofactor matrix is the inverse transpose times the determinant, whose size unit length undoes.
        const double x = (e * i - f * h) * n.x + (f * g - d * i) * n.y + (d * h - e * g) * n.z;
        const double y = (c * h - b * i) * n.x + (a * i - c * g) * n.y + (b * g - a * h) * n.z;
        const double z = (b * f - c * e) * n.x + (c * d - a * f) * n.y + (a * e - b * d) * n.z;
        const double length = std::sqrt(x * x + y * y + z * z);
        if (!(length > 0)) return n;
        return {static_cast<float>(x / length), static_cast<float>(y / length), static_cast<float>(z / length)};
    }
};

Transform LocalTransform(const tinygltf::Node& node)
{
    Transform local;
    if (node.matrix.size() == 16) {
        std::copy(node.matrix.begin(), node.matrix.end(), local.m);
        return local;
    }
    double t[3] = {0, 0, 0}, r[4] = {0, 0, 0, 1}, s[3] = {1, 1, 1};
    if (node.translation.size() == 3) std::copy(node.translation.begin(), node.translation.end(), t);
    if (node.rotation.size() == 4) std::copy(node.rotation.begin(), node.rotation.end(), r);
    if (node.scale.size() == 3) std::copy(node.scale.begin(), node.scale.end(), s);
    const double x = r[0], y = r[1], z = r[2], w = r[3];
    const double rotation[9] = {1 - 2 * (y * y + z * z), 2 * (x * y + z * w),     2 * (x * z - y * w),
                                2 * (x * y - z * w),     1 - 2 * (x * x + z * z), 2 * (y * z + x * w),
                                2 * (x * z + y * w),     2 * (y * z - x * w),     1 - 2 * (x * x + y * y)};
    for (int column = 0; column < 3; ++column)
        for (int row = 0; row < 3; ++row) local.m[column * 4 + row] = rotation[column * 3 + row] * s[column];
    std::copy(t, t + 3, local.m + 12);
    return local;
}

// One per-vertex channel of the vertices gathered from primitives; one that
// some primitives lack is filled with its default for them.
template <class T>
struct Channel {
    CRefData<CArrayDataStore<T>> items;
    bool present = false;  // some primitive gave it

    size_t Count() const { return static_cast<size_t>(items->Number()); }
    const T* Data() const { return items->Buffer(); }
    // count more items of unspecified value; the first of them.
    T* Append(size_t count)
    {
        const size_t before = Count();
        if (!items->Append(static_cast<int>(count))) throw std::bad_alloc();
        return items->Buffer() + before;
    }
    // Room for the count items of a primitive after before others: to fill
    // when it gives them, else filled with standard; null while no
    // primitive gave any.
    T* Room(bool given, size_t before, size_t count, const T& standard)
    {
        if (given && !present) {
            std::fill_n(Append(before), before, standard);
            present = true;
        }
        if (!present) return nullptr;
        T* room = Append(count);
        if (!given) std::fill_n(room, count, standard);
        return room;
    }
};

// Vertices gathered from primitives; the stores become the model's.
struct VertexSet {
    Channel<VERTEX> positions;
    Channel<CVector_3<float>> normals;
    Channel<RGBA> colors;
    Channel<CVector_2<float>> texCoords;  // per vertex, made per corner at the end

    size_t Count() const { return positions.Count(); }
};

bool IsFinite(const VERTEX& p)
{
    return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

// Widens float VEC3 positions into to, placed by transform; FileError at
// the first that is not finite.
void ReadPositions(const Elements& positions, const Transform& transform, VERTEX* to, const std::string& name)
{
    const bool moved = !transform.IsIdentity();
    bool finite = true;
    EachPiece(positions, 1, [&](const char* first, size_t from, size_t count) {
        for (size_t i = 0; i < count; ++i) {
            const char* at = first + i * positions.stride;
            VERTEX p{Load<float>(at), Load<float>(at + 4), Load<float>(at + 8)};
            if (moved) p = transform.Apply(p);
            // Checked after the loop, which then has no exit to keep it from running at memory speed.
            finite &= IsFinite(p);
            to[from + i] = p;
        }
    });
    if (finite) return;
    const VERTEX* bad = std::find_if_not(to, to + positions.count, IsFinite);
    throw FileError::InFile(name, "finite coordinates in " + positions.path + ", as placed by its node",
                            "element " + std::to_string(bad - to) + " at " + std::to_string(bad->x) + ", " +
                                std::to_string(bad->y) + ", " + std::to_string(bad->z));
}

void ReadNormals(const Elements& normals, const Transform& transform, CVector_3<float>* to)
{
    const bool moved = !transform.IsIdentity();
    const size_t bytes = normals.count * sizeof(CVector_3<float>);
    if (bytes == 0) return;
    if (!moved && normals.stride == sizeof(CVector_3<float>)) {
        if (normals.file != nullptr)
            normals.file->Read(normals.fileAt, bytes, reinterpret_cast<char*>(to));
        else
            std::memcpy(to, normals.first, bytes);
        return;
    }
    EachPiece(normals, 1, [&](const char* first, size_t from, size_t count) {
        for (size_t i = 0; i < count; ++i) {
            CVector_3<float>& normal = to[from + i];
            std::memcpy(&normal, first + i * normals.stride, sizeof normal);
            if (moved) normal = transform.ApplyToNormal(normal);
        }
    });
}

// Appends a primitive's vertices; the index of its first one.
size_t AppendVertices(VertexSet& set, const GltfModel& model, const tinygltf::Primitive& primitive,
                      const std::string& path, const Transform& transform, int texCoordSet, const std::string& name)
{
    auto attribute = [&](const std::string& key) -> std::optional<Elements> {
        const auto found = primitive.attributes.find(key);
        if (found == primitive.attributes.end()) return std::nullopt;
        return Access(model, found->second, path + ".attributes." + key, name);
    };
    const std::optional<Elements> positions = attribute("POSITION");
    if (!positions) throw FileError::InFile(name, path + ".attributes.POSITION", "none");
    RequireKind(*positions, {TINYGLTF_COMPONENT_TYPE_FLOAT}, {3}, "VEC3 floats", name);
    const size_t before = set.Count(), count = positions->count;
    if (count > static_cast<size_t>(INT_MAX) - before)
        throw FileError::InFile(name, "at most 2147483647 vertices in one mesh", "more at " + path);
    auto fitting = [&](std::optional<Elements> elements) {
        if (elements && elements->count != count)
            throw FileError::InFile(name, elements->path + " of " + std::to_string(count) + " elements, as POSITION",
                                    std::to_string(elements->count));
        return elements;
    };
    const std::optional<Elements> normals = fitting(attribute("NORMAL"));
    // Read element by element, so read whole first.
    auto resident = [](std::optional<Elements> elements) {
        return elements ? std::optional<Elements>(Resident(*elements)) : std::nullopt;
    };
    const std::optional<Elements> colors = resident(fitting(attribute("COLOR_0")));
    const std::optional<Elements> texCoords = resident(fitting(attribute("TEXCOORD_" + std::to_string(texCoordSet))));
    const int byteOrShort[] = {TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE, TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT};
    if (normals) RequireKind(*normals, {TINYGLTF_COMPONENT_TYPE_FLOAT}, {3}, "VEC3 floats", name);
    if (colors)
        RequireKind(*colors, {TINYGLTF_COMPONENT_TYPE_FLOAT, byteOrShort[0], byteOrShort[1]}, {3, 4},
                    "VEC3 or VEC4 floats, bytes or shorts", name);
    if (texCoords)
        RequireKind(*texCoords, {TINYGLTF_COMPONENT_TYPE_FLOAT, byteOrShort[0], byteOrShort[1]}, {2},
                    "VEC2 floats, bytes or shorts", name);
    ReadPositions(*positions, transform, set.positions.Append(count), name);
    if (CVector_3<float>* to = set.normals.Room(normals.has_value(), before, count, {0, 0, 0}); normals)
        ReadNormals(*normals, transform, to);
    if (RGBA* to = set.colors.Room(colors.has_value(), before, count, {255, 255, 255, 255}); colors) {
        auto channel = [&](size_t i, int c) {
            return static_cast<uint8_t>(std::lround(std::clamp(colors->Unit(i, c), 0.0f, 1.0f) * 255.0f));
        };
        for (size_t i = 0; i < count; ++i)
            to[i] = {channel(i, 0), channel(i, 1), channel(i, 2),
                     colors->components == 4 ? channel(i, 3) : uint8_t{255}};
    }
    if (CVector_2<float>* to = set.texCoords.Room(texCoords.has_value(), before, count, {0, 0}); texCoords)
        for (size_t i = 0; i < count; ++i) to[i] = {texCoords->Unit(i, 0), texCoords->Unit(i, 1)};
    return before;
}

// A primitive's indices, unsigned bytes, shorts or ints.
Elements Indices(const GltfModel& model, const tinygltf::Primitive& primitive, const std::string& path,
                 const std::string& name)
{
    const Elements indices = Access(model, primitive.indices, path + ".indices", name);
    RequireKind(indices,
                {TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE, TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT,
                 TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT},
                {1}, "unsigned bytes, shorts or ints", name);
    return indices;
}

// read(Index{}) for the indices' component type, so that each type has a
// loop of its own.
template <class Read>
uint32_t ByIndexType(const Elements& indices, Read read)
{
    switch (indices.componentType) {
        case TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE:
            return read(uint8_t{});
        case TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT:
            return read(uint16_t{});
        default:
            return read(uint32_t{});
    }
}

// FileError naming the first index not below vertices, when largest, the
// largest index, is not.
void CheckIndices(const Elements& elements, uint32_t largest, size_t vertices, const std::string& name)
{
    if (elements.count == 0 || largest < vertices) return;
    const Elements indices = Resident(elements);
    for (size_t i = 0; i < indices.count; ++i) {
        const uint32_t index =
            ByIndexType(indices, [&](auto type) -> uint32_t { return indices.Component<decltype(type)>(i, 0); });
        if (index >= vertices)
            throw FileError::InFile(name,
                                    "vertex indices below " + std::to_string(vertices) + " in " + indices.path +
                                        " (element " + std::to_string(i) + ")",
                                    std::to_string(index));
    }
}

// The vertex order of a primitive: its indices, checked against the vertex
// count, or its vertices in order.
BulkVector<int> VertexOrder(const GltfModel& model, const tinygltf::Primitive& primitive, const std::string& path,
                            size_t vertices, const std::string& name)
{
    BulkVector<int> order;
    if (primitive.indices < 0) {
        order.resize(vertices);
        std::iota(order.begin(), order.end(), 0);
        return order;
    }
    const Elements indices = Resident(Indices(model, primitive, path, name));
    order.resize(indices.count);
    const uint32_t largest = ByIndexType(indices, [&](auto type) {
        uint32_t most = 0;
        for (size_t i = 0; i < indices.count; ++i) {
            const uint32_t index = indices.Component<decltype(type)>(i, 0);
            most = std::max(most, index);
            order[i] = static_cast<int>(index);
        }
        return most;
    });
    CheckIndices(indices, largest, vertices, name);
    return order;
}

// Appends count / 3 triangles of the indices from first at stride to rows,
// their corners counted from offset; the largest index, the corners of an
// unfinished last triangle too. The largest index is a local: a reference
// would be written back per row, as the rows might alias it.
template <class Index>
uint32_t TrianglesOf(const char* first, size_t count, size_t stride, uint32_t offset, BulkVector<CPolygon<int>>& rows)
{
    uint32_t largest = 0;
    const size_t triangles = count / 3;
    for (size_t t = 0; t < triangles; ++t) {
        const char* at = first + 3 * t * stride;
        const uint32_t a = Load<Index>(at), b = Load<Index>(at + stride), c = Load<Index>(at + 2 * stride);
        largest = std::max({largest, a, b, c});
        // Unsigned, so that a bad index wraps instead of overflowing; it is refused after the loop.
        CPolygon<int>& row = rows.emplace_back();
        row.items[0] = static_cast<int>(a + offset);
        row.items[1] = static_cast<int>(b + offset);
        row.items[2] = static_cast<int>(c + offset);
        row.count = 3;
    }
    for (size_t i = 3 * triangles; i < count; ++i)
        largest = std::max<uint32_t>(largest, Load<Index>(first + i * stride));
    return largest;
}

// Appends a triangle list's triangles, their corners counted from first;
// the largest index it holds.
template <class Index>
uint32_t AppendTriangleList(const Elements& indices, size_t first, BulkVector<CPolygon<int>>& rows)
{
    uint32_t largest = 0;
    EachPiece(indices, 3, [&](const char* piece, size_t, size_t count) {
        largest =
            std::max(largest, TrianglesOf<Index>(piece, count, indices.stride, static_cast<uint32_t>(first), rows));
    });
    return largest;
}

// What one glTF node's mesh becomes.
struct ElementParts {
    std::string name;
    std::string meshName;
    VertexSet triangleVertices;
    BulkVector<CPolygon<int>> triangles;
    VertexSet points;
    std::vector<std::vector<CVector_3<double>>> lines;
    std::optional<CRefData<CMatrixDataStore<RGBA>>> texture;
};

class GltfScene {
public:
    GltfScene(const GltfModel& model, const std::string& name, const std::string& folder)
        : model_(model), name_(name), folder_(folder)
    {
    }

    std::vector<ElementParts> Elements()
    {
        WarnUnsupported();
        std::vector<ElementParts> elements;
        std::vector<char> visited(model_.nodes.size(), 0);
        std::vector<std::pair<int, Transform>> pending;
        auto push = [&](int node, const Transform& parent, const std::string& path) {
            const size_t n = CheckedIndex(node, model_.nodes.size(), path, name_);
            if (visited[n]) throw FileError::InFile(name_, Item("nodes", n) + " once in the node hierarchy", "again");
            visited[n] = 1;
            pending.emplace_back(static_cast<int>(n), parent.Then(LocalTransform(model_.nodes[n])));
        };
        for (const auto& [node, path] : RootNodes()) push(node, Transform(), path);
        while (!pending.empty()) {
            const auto [n, transform] = pending.back();
            pending.pop_back();
            const tinygltf::Node& node = model_.nodes[n];
            for (size_t c = node.children.size(); c-- > 0;)
                push(node.children[c], transform, Item("nodes", n) + ".children[" + std::to_string(c) + "]");
            if (node.mesh >= 0) elements.push_back(MeshElement(n, transform));
        }
        return elements;
    }

    std::vector<std::string> warnings;

private:
    void Warn(size_t count, const std::string& what)
    {
        if (count != 0) warnings.push_back(std::to_string(count) + " " + what + " skipped");
    }

    void WarnUnsupported()
    {
        Warn(model_.animations.size(), "animations");
        Warn(model_.skins.size(), "skins");
        Warn(model_.cameras.size(), "cameras");
        for (const std::string& extension : model_.extensionsUsed)
            warnings.push_back("extension " + extension + " skipped");
    }

    // The nodes to start from, with where they were named.
    std::vector<std::pair<int, std::string>> RootNodes() const
    {
        std::vector<std::pair<int, std::string>> roots;
        if (model_.scenes.empty()) {
            // Without scenes, every node that is nobody's child.
            std::vector<char> isChild(model_.nodes.size(), 0);
            for (const tinygltf::Node& node : model_.nodes)
                for (int child : node.children)
                    if (child >= 0 && static_cast<size_t>(child) < isChild.size()) isChild[child] = 1;
            for (size_t n = 0; n < model_.nodes.size(); ++n)
                if (!isChild[n]) roots.emplace_back(static_cast<int>(n), Item("nodes", n));
            return roots;
        }
        const size_t s =
            model_.defaultScene < 0 ? 0 : CheckedIndex(model_.defaultScene, model_.scenes.size(), "scene", name_);
        const std::vector<int>& nodes = model_.scenes[s].nodes;
        for (size_t i = nodes.size(); i-- > 0;)
            roots.emplace_back(nodes[i], Item("scenes", s) + ".nodes[" + std::to_string(i) + "]");
        std::reverse(roots.begin(), roots.end());
        return roots;
    }

    ElementParts MeshElement(size_t n, const Transform& transform)
    {
        const tinygltf::Node& node = model_.nodes[n];
        const size_t m = CheckedIndex(node.mesh, model_.meshes.size(), Item("nodes", n) + ".mesh", name_);
        const tinygltf::Mesh& mesh = model_.meshes[m];
        ElementParts parts;
        parts.meshName = mesh.name.empty() ? (node.name.empty() ? Item("meshes", m) : node.name) : mesh.name;
        parts.name = node.name.empty() ? parts.meshName : node.name;
        size_t morphed = 0, skipped = 0;
        for (size_t p = 0; p < mesh.primitives.size(); ++p) {
            const tinygltf::Primitive& primitive = mesh.primitives[p];
            const std::string path = Item("meshes", m) + ".primitives[" + std::to_string(p) + "]";
            if (!primitive.targets.empty()) ++morphed;
            switch (primitive.mode) {
                case TINYGLTF_MODE_TRIANGLES:
                case TINYGLTF_MODE_TRIANGLE_STRIP:
                case TINYGLTF_MODE_TRIANGLE_FAN:
                    AddTriangles(parts, primitive, path, transform);
                    break;
                case TINYGLTF_MODE_POINTS:
                case TINYGLTF_MODE_LINE:
                case TINYGLTF_MODE_LINE_LOOP:
                case TINYGLTF_MODE_LINE_STRIP:
                    AddPointsOrLines(parts, primitive, path, transform);
                    break;
                default:
                    ++skipped;
            }
        }
        Warn(morphed, "morph targets of " + Item("meshes", m) + "'s primitives");
        Warn(skipped, "primitives of unknown mode in " + Item("meshes", m));
        return parts;
    }

    void AddTriangles(ElementParts& parts, const tinygltf::Primitive& primitive, const std::string& path,
                      const Transform& transform)
    {
        const int texCoordSet = TextureOf(parts, primitive, path);
        VertexSet& set = parts.triangleVertices;
        const size_t first = AppendVertices(set, model_, primitive, path, transform, texCoordSet, name_);
        const size_t vertices = set.Count() - first;
        BulkVector<CPolygon<int>>& rows = parts.triangles;
        if (primitive.mode == TINYGLTF_MODE_TRIANGLES) {
            if (primitive.indices < 0) {
                ReserveTriangles(rows, vertices / 3, path);
                for (size_t t = 0; t < vertices / 3; ++t) {
                    const int a = static_cast<int>(first + 3 * t);
                    rows.push_back({{a, a + 1, a + 2, 0}, 3});
                }
                return;
            }
            const auto indices = Indices(model_, primitive, path, name_);
            ReserveTriangles(rows, indices.count / 3, path);
            const uint32_t largest = ByIndexType(
                indices, [&](auto type) { return AppendTriangleList<decltype(type)>(indices, first, rows); });
            CheckIndices(indices, largest, vertices, name_);
            return;
        }
        const BulkVector<int> order = VertexOrder(model_, primitive, path, vertices, name_);
        const size_t triangles = order.size() < 3 ? 0 : order.size() - 2;
        ReserveTriangles(rows, triangles, path);
        const int offset = static_cast<int>(first);
        for (size_t t = 0; t < triangles; ++t) {
            int a, b, c;
            if (primitive.mode == TINYGLTF_MODE_TRIANGLE_FAN) {
                a = order[0], b = order[t + 1], c = order[t + 2];
            } else {
                // Every other triangle of a strip turns the other way.
                a = order[t + (t % 2)], b = order[t + 1 - (t % 2)], c = order[t + 2];
            }
            rows.push_back({{a + offset, b + offset, c + offset, 0}, 3});
        }
    }

    // Room for triangles more rows, within a mesh's 2^31 - 1.
    void ReserveTriangles(BulkVector<CPolygon<int>>& rows, size_t triangles, const std::string& path)
    {
        if (triangles > static_cast<size_t>(INT_MAX) - rows.size())
            throw FileError::InFile(name_, "at most 2147483647 triangles in one mesh", "more at " + path);
        rows.reserve(rows.size() + triangles);
    }

    void AddPointsOrLines(ElementParts& parts, const tinygltf::Primitive& primitive, const std::string& path,
                          const Transform& transform)
    {
        VertexSet primitiveVertices;
        AppendVertices(primitiveVertices, model_, primitive, path, transform, 0, name_);
        const BulkVector<int> order = VertexOrder(model_, primitive, path, primitiveVertices.Count(), name_);
        const VERTEX* positions = primitiveVertices.positions.Data();
        if (primitive.mode == TINYGLTF_MODE_POINTS) {
            VertexSet& set = parts.points;
            const size_t before = set.Count(), count = order.size();
            if (count > static_cast<size_t>(INT_MAX) - before)
                throw FileError::InFile(name_, "at most 2147483647 points in one mesh", "more at " + path);
            const Channel<CVector_3<float>>& normals = primitiveVertices.normals;
            const Channel<RGBA>& colors = primitiveVertices.colors;
            VERTEX* toPositions = set.positions.Append(count);
            CVector_3<float>* toNormals = set.normals.Room(normals.present, before, count, {0, 0, 0});
            RGBA* toColors = set.colors.Room(colors.present, before, count, {255, 255, 255, 255});
            for (size_t i = 0; i < count; ++i) {
                toPositions[i] = positions[order[i]];
                if (normals.present) toNormals[i] = normals.Data()[order[i]];
                if (colors.present) toColors[i] = colors.Data()[order[i]];
            }
            return;
        }
        auto point = [&](int v) {
            const VERTEX& p = positions[v];
            return CVector_3<double>{p.x, p.y, p.z};
        };
        if (primitive.mode == TINYGLTF_MODE_LINE) {
            for (size_t i = 0; i + 1 < order.size(); i += 2)
                parts.lines.push_back({point(order[i]), point(order[i + 1])});
            return;
        }
        if (order.size() < 2) return;
        std::vector<CVector_3<double>> line;
        line.reserve(order.size() + 1);
        for (int v : order) line.push_back(point(v));
        if (primitive.mode == TINYGLTF_MODE_LINE_LOOP) line.push_back(line.front());
        parts.lines.push_back(std::move(line));
    }

    // Reads the base colour texture of the primitive's material into parts,
    // when it has none yet; the texture coordinate set it uses.
    int TextureOf(ElementParts& parts, const tinygltf::Primitive& primitive, const std::string& path)
    {
        if (primitive.material < 0) return 0;
        const size_t m = CheckedIndex(primitive.material, model_.materials.size(), path + ".material", name_);
        const tinygltf::TextureInfo& info = model_.materials[m].pbrMetallicRoughness.baseColorTexture;
        if (info.index < 0) return 0;
        if (parts.texture) return info.texCoord;
        const std::string where = Item("materials", m) + ".pbrMetallicRoughness.baseColorTexture";
        const size_t t = CheckedIndex(info.index, model_.textures.size(), where + ".index", name_);
        const int source = model_.textures[t].source;
        if (source < 0) return info.texCoord;
        const size_t i = CheckedIndex(source, model_.images.size(), Item("textures", t) + ".source", name_);
        const tinygltf::Image& image = model_.images[i];
        std::string_view bytes(reinterpret_cast<const char*>(image.image.data()), image.image.size());
        std::optional<FileBytes> file;
        if (image.bufferView >= 0) {
            bytes = ViewBytes(model_, image.bufferView, Item("images", i) + ".bufferView", name_);
        } else if (bytes.empty() && !image.uri.empty()) {
            FileRoom room{folder_, std::nullopt, &name_};
            const std::optional<std::string> inside = PathInRoom(folder_ + "/" + image.uri, room);
            if (!inside) throw *room.refusal;
            RequireRegularFile(*inside);
            file.emplace(ReadWholeFile(*inside));
            bytes = file->View();
        }
        if (bytes.size() < 8 || bytes.compare(0, 8, "\x89PNG\r\n\x1a\n") != 0) {
            warnings.push_back(Item("images", i) + " skipped: only PNG textures are read");
            return info.texCoord;
        }
        CRefData<CMatrixDataStore<RGBA>> pixels;
        DecodePng(bytes, *pixels, name_, Item("images", i));
        parts.texture = pixels;
        return info.texCoord;
    }

    const GltfModel& model_;
    const std::string& name_;
    const std::string& folder_;
};

// Makes model hold the set's vertices, normals and colours.
void FillModel(CModelNode& model, const VertexSet& set, const std::string& name)
{
    model.vertices = set.positions.items;
    SetArrayAttribute(model, kNormalsAttribute, set.normals.Data(), set.normals.Count(), name);
    SetArrayAttribute(model, kColorsAttribute, set.colors.Data(), set.colors.Count(), name);
}

CBaseNode* SceneOf(std::vector<ElementParts>& elements, const std::string& name)
{
    NewNode root(CBaseNode::Create());
    for (ElementParts& parts : elements) {
        CBaseNode* element = Adopt(root.Get(), CElementNode::Create());
        element->SetName(parts.name.c_str());
        if (!parts.triangles.empty()) {
            auto* mesh = static_cast<CMeshNode*>(Adopt(element, CMeshNode::Create()));
            mesh->SetName(parts.meshName.c_str());
            FillModel(*mesh, parts.triangleVertices, name);
            if (parts.triangleVertices.texCoords.present) {
                const CVector_2<float>* uv = parts.triangleVertices.texCoords.Data();
                BulkVector<CPolygon<CVector_2<float>>>& rows = mesh->texCoords->rows;
                rows.resize(parts.triangles.size());
                for (size_t t = 0; t < rows.size(); ++t) {
                    const int* corner = parts.triangles[t].items;
                    rows[t] = {{uv[corner[0]], uv[corner[1]], uv[corner[2]], {0, 0}}, 3};
                }
            }
            mesh->polygons->rows.swap(parts.triangles);
            if (parts.texture && mesh->AppendImage(*parts.texture) < 0) throw std::bad_alloc();
        }
        if (parts.points.Count() != 0) {
            auto* model = static_cast<CModelNode*>(Adopt(element, CModelNode::Create()));
            model->SetName(parts.meshName.c_str());
            FillModel(*model, parts.points, name);
        }
        if (!parts.lines.empty()) {
            auto* lines = static_cast<CLinearLineNode*>(Adopt(element, CLinearLineNode::Create()));
            lines->SetName(parts.meshName.c_str());
            lines->lines->lines.assign(parts.lines.begin(), parts.lines.end());
        }
    }
    return root.Take();
}

CBaseNode* SceneOfModel(const GltfModel& model, const std::string& name, const std::string& folder,
                        std::vector<std::string>* warnings)
{
    GltfScene scene(model, name, folder);
    std::vector<ElementParts> elements = scene.Elements();
    if (elements.empty()) throw FileError::InFile(name, "a node showing a mesh", "none");
    CBaseNode* root = SceneOf(elements, name);
    if (warnings != nullptr) warnings->insert(warnings->end(), scene.warnings.begin(), scene.warnings.end());
    return root;
}

CBaseNode* ReadGltfIn(std::string_view bytes, const std::string& name, const std::string& folder,
                      std::vector<std::string>* warnings)
{
    return SceneOfModel(Parse(bytes, name, folder), name, folder, warnings);
}

}  // namespace

CBaseNode* ReadGltf(std::string_view bytes, const std::string& name, std::vector<std::string>* warnings)
{
    return ReadGltfIn(bytes, name, "", warnings);
}

CBaseNode* ImportGltf(const std::string& path, std::vector<std::string>* warnings)
{
    const size_t slash = path.find_last_of('/');
    const std::string folder = slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
    // A binary file whose BIN chunk is its buffer 0 stays on disk while it is
    // read; any other file is read whole.
    {
        const FileOnDisk file(path);
        if (file.Size() >= 4 && file.WordAt(0) == kGlbMagic)
            if (std::optional<GltfModel> model = ParseOnDisk(file, path, folder))
                return SceneOfModel(*model, path, folder, warnings);
    }
    const FileBytes bytes = ReadWholeFile(path);
    return ReadGltfIn(bytes.View(), path, folder, warnings);
}

}  // namespace brell::io
