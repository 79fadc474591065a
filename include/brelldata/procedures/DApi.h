#pragma once

#include <brelldata/Export.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// The procedure directory: draw and geometry procedures that the host
// registers by kind ("DrawProc", "GeoProc") and name, and that the library
// looks up afresh every time it draws or calculates.

using DAPI_PROC = int (*)(void* node, void* argument);

struct CDApiItem {
    uint32_t flags;  // not read by the library
    DAPI_PROC proc;
};

class BRELL_API CDApiManager {
public:
    CDApiManager() = default;
    CDApiManager(const CDApiManager&) = delete;
    CDApiManager& operator=(const CDApiManager&) = delete;
    ~CDApiManager();

    // Null when absent (also for a null kind or name); allocates nothing.
    CDApiItem* GetDApi(const char* kind, const char* name);
    // 1; replaces the procedure of the same kind and name. 0 for a null kind,
    // name or procedure.
    int Register(const char* kind, const char* name, DAPI_PROC proc);
    // 1 when one was removed, else 0.
    int Unregister(const char* kind, const char* name);

private:
    struct Procedure;
    // Open addressing over the procedures of one kind: a slot holds a name's
    // hash and its procedure, which lives on its own so that an item pointer
    // stays valid until that procedure is unregistered.
    struct Slot {
        uint64_t hash;
        Procedure* procedure;  // null in a free slot
    };
    struct Kind {
        std::string name;
        std::vector<Slot> slots;  // a power of two in size, at most half full
        size_t used = 0;
    };
    Kind* FindKind(const char* kind);
    Slot* FindSlot(Kind& kind, const char* name, size_t length, uint64_t hash);
    void Grow(Kind& kind);

    std::vector<Kind> kinds_;  // a few kinds, searched in turn
};

// The process's directory: exists, empty, from load to unload.
BRELL_API CDApiManager* GetDApiManager();
