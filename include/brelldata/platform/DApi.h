#pragma once

#include <brelldata/core/Export.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
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
    // Null when absent (also for a null kind or name); allocates nothing.
    CDApiItem* GetDApi(const char* kind, const char* name);
    // 1; replaces the procedure of the same kind and name. 0 for a null kind,
    // name or procedure.
    int Register(const char* kind, const char* name, DAPI_PROC proc);
    // 1 when one was removed, else 0.
    int Unregister(const char* kind, const char* name);

private:
    struct Procedure {
        std::unique_ptr<const std::string> name;  // the table's key views it
        CDApiItem item;
    };
    // Hashed by name, looked up by view, so a lookup allocates nothing. Table
    // nodes never move, so an item pointer stays valid until that procedure
    // is unregistered.
    using Table = std::unordered_map<std::string_view, Procedure>;
    struct Kind {
        std::string name;
        Table procedures;
    };
    Table* Find(const char* kind);

    std::vector<Kind> kinds_;  // a few kinds, searched in turn
};

// The process's directory: exists, empty, from load to unload.
BRELL_API CDApiManager* GetDApiManager();
