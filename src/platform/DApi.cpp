#include "core/Process.h"

#include <brelldata/platform/DApi.h>

CDApiManager::Table* CDApiManager::Find(const char* kind)
{
    for (Kind& each : kinds_) {
        if (each.name == kind) return &each.procedures;
    }
    return nullptr;
}

CDApiItem* CDApiManager::GetDApi(const char* kind, const char* name)
{
    if (kind == nullptr || name == nullptr) return nullptr;
    Table* procedures = Find(kind);
    if (procedures == nullptr) return nullptr;
    auto found = procedures->find(name);
    return found == procedures->end() ? nullptr : &found->second.item;
}

int CDApiManager::Register(const char* kind, const char* name, DAPI_PROC proc)
{
    if (kind == nullptr || name == nullptr || proc == nullptr) return 0;
    Table* procedures = Find(kind);
    if (procedures == nullptr) procedures = &kinds_.emplace_back(Kind{kind, {}}).procedures;
    auto found = procedures->find(name);
    if (found != procedures->end()) {
        found->second.item.proc = proc;
        return 1;
    }
    auto key = std::make_unique<const std::string>(name);
    const std::string_view view = *key;
    procedures->emplace(view, Procedure{std::move(key), CDApiItem{0, proc}});
    return 1;
}

int CDApiManager::Unregister(const char* kind, const char* name)
{
    if (kind == nullptr || name == nullptr) return 0;
    Table* procedures = Find(kind);
    return procedures != nullptr && procedures->erase(name) == 1 ? 1 : 0;
}

CDApiManager* GetDApiManager()
{
    return &brell::Process().procedures;
}
