#include <brelldata/platform/DataManager.h>

#include <algorithm>
#include <string_view>

CDataObjectBase::~CDataObjectBase() = default;

void* CDataObjectBase::MakeBlock()
{
    const int size = SizeOfByte();
    if (size < 1) return nullptr;
    auto* block = new unsigned char[static_cast<size_t>(size)];
    if (Write(block) != 0) return block;
    delete[] block;
    return nullptr;
}

void CDataObjectBase::TakeBlock(void* block)
{
    Read(block);
    delete[] static_cast<unsigned char*>(block);
}

void CDataObjectBase::Hook() {}

CNotify::~CNotify() = default;

CDataManager::CDataManager() = default;

CDataManager::~CDataManager()
{
    // Notifiers may call back into the manager, so each entry leaves the
    // table before its owner hears of it.
    while (!entries_.empty()) {
        auto node = entries_.extract(entries_.begin());
        LetGo(node.key(), node.mapped(), true);
    }
}

CDataObjectBase* CDataManager::GetData(const char* name)
{
    if (name == nullptr) return nullptr;
    auto found = entries_.find(std::string_view(name));
    return found == entries_.end() ? nullptr : found->second.object;
}

int CDataManager::Register(const char* name, CDataObjectBase* object)
{
    if (name == nullptr || object == nullptr) return 0;
    // An object held twice would be let go of twice.
    if (std::any_of(entries_.begin(), entries_.end(), [object](const auto& e) { return e.second.object == object; }))
        return 0;
    return entries_.emplace(name, Entry{object, std::string(), nullptr}).second ? 1 : 0;
}

int CDataManager::Owner(const char* name, const char* ownerName, CNotify* notify)
{
    if (name == nullptr) return 0;
    auto found = entries_.find(std::string_view(name));
    if (found == entries_.end()) return 0;
    found->second.owner = ownerName == nullptr ? "" : ownerName;
    found->second.notify = notify;
    return 1;
}

CDataObjectBase* CDataManager::UnRegister(const char* name)
{
    if (name == nullptr) return nullptr;
    auto found = entries_.find(std::string_view(name));
    if (found == entries_.end()) return nullptr;
    auto node = entries_.extract(found);
    CDataObjectBase* object = node.mapped().object;
    LetGo(node.key(), node.mapped(), false);
    return object;
}

void CDataManager::LetGo(const std::string& name, Entry& entry, bool deleteUnowned)
{
    if (entry.notify != nullptr)
        entry.notify->Notify(this, name.c_str(), entry.object, 1, entry.owner.c_str(), nullptr);
    else if (deleteUnowned)
        delete entry.object;
}
