#pragma once

#include <brelldata/core/Export.h>

#include <cstdint>
#include <map>
#include <string>

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
    // Map nodes never move, so an item pointer stays valid until that
    // procedure is unregistered.
    std::map<std::string, std::map<std::string, CDApiItem, std::less<>>, std::less<>> kinds_;
};

// The process's directory: exists, empty, from load to unload.
BRELL_API CDApiManager* GetDApiManager();
