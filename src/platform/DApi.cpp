#include "core/Process.h"

#include <brelldata/platform/DApi.h>

CDApiItem* CDApiManager::GetDApi(const char* kind, const char* name)
{
    if (kind == nullptr || name == nullptr) return nullptr;
    auto procedures = kinds_.find(kind);
    if (procedures == kinds_.end()) return nullptr;
    auto item = procedures->second.find(name);
    return item == procedures->second.end() ? nullptr : &item->second;
}

int CDApiManager::Register(const char* kind, const char* name, DAPI_PROC proc)
{
    if (kind == nullptr || name == nullptr || proc == nullptr) return 0;
    auto procedures = kinds_.find(kind);
    if (procedures == kinds_.end()) procedures = kinds_.emplace(kind, decltype(kinds_)::mapped_type{}).first;
    procedures->second.insert_or_assign(name, CDApiItem{0, proc});
    return 1;
}

int CDApiManager::Unregister(const char* kind, const char* name)
{
    if (kind == nullptr || name == nullptr) return 0;
    auto procedures = kinds_.find(kind);
    if (procedures == kinds_.end()) return 0;
    auto item = procedures->second.find(name);
    if (item == procedures->second.end()) return 0;
    procedures->second.erase(item);
    return 1;
}

CDApiManager* GetDApiManager()
{
    return &brell::Process().procedures;
}
