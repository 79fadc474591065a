#include <brelldata/procedures/DApi.h>

#include <cstring>
#include <utility>

struct CDApiManager::Procedure {
    std::string name;
    CDApiItem item;
};

namespace {

// Names are short and often built just before the lookup, so they are read
// byte by byte: wide loads over freshly written bytes would wait for the
// stores to land. The length comes out of the same pass.
uint64_t HashName(const char* name, size_t& length)
{
    uint64_t hash = 0x9E3779B97F4A7C15ull;
    size_t at = 0;
    for (; name[at] != '\0'; ++at) hash = ((hash << 5) | (hash >> 59)) ^ static_cast<unsigned char>(name[at]);
    length = at;
    hash *= 0xFF51AFD7ED558CCDull;
    return hash ^ (hash >> 32);
}

bool SameName(const std::string& stored, const char* name, size_t length)
{
    if (stored.size() != length) return false;
    for (size_t i = 0; i < length; ++i) {
        if (stored[i] != name[i]) return false;
    }
    return true;
}

constexpr size_t kFirstSlots = 64;

}  // namespace

CDApiManager::~CDApiManager()
{
    for (Kind& kind : kinds_) {
        for (Slot& slot : kind.slots) delete slot.procedure;
    }
}

CDApiManager::Kind* CDApiManager::FindKind(const char* kind)
{
    for (Kind& each : kinds_) {
        if (std::strcmp(each.name.c_str(), kind) == 0) return &each;
    }
    return nullptr;
}

// The slot holding name, or the free slot where it would go.
CDApiManager::Slot* CDApiManager::FindSlot(Kind& kind, const char* name, size_t length, uint64_t hash)
{
    const size_t mask = kind.slots.size() - 1;
    for (size_t i = hash & mask;; i = (i + 1) & mask) {
        Slot& slot = kind.slots[i];
        if (slot.procedure == nullptr) return &slot;
        if (slot.hash == hash && SameName(slot.procedure->name, name, length)) return &slot;
    }
}

void CDApiManager::Grow(Kind& kind)
{
    std::vector<Slot> old(kind.slots.empty() ? kFirstSlots : kind.slots.size() * 2, Slot{0, nullptr});
    old.swap(kind.slots);
    for (const Slot& slot : old) {
        if (slot.procedure == nullptr) continue;
        const std::string& name = slot.procedure->name;
        *FindSlot(kind, name.c_str(), name.size(), slot.hash) = slot;
    }
}

CDApiItem* CDApiManager::GetDApi(const char* kind, const char* name)
{
    if (kind == nullptr || name == nullptr) return nullptr;
    Kind* procedures = FindKind(kind);
    if (procedures == nullptr) return nullptr;
    size_t length = 0;
    const uint64_t hash = HashName(name, length);
    Slot* slot = FindSlot(*procedures, name, length, hash);
    return slot->procedure == nullptr ? nullptr : &slot->procedure->item;
}

int CDApiManager::Register(const char* kind, const char* name, DAPI_PROC proc)
{
    if (kind == nullptr || name == nullptr || proc == nullptr) return 0;
    Kind* procedures = FindKind(kind);
    if (procedures == nullptr) {
        procedures = &kinds_.emplace_back(Kind{kind, {}, 0});
        Grow(*procedures);
    }
    size_t length = 0;
    const uint64_t hash = HashName(name, length);
    Slot* slot = FindSlot(*procedures, name, length, hash);
    if (slot->procedure != nullptr) {
        slot->procedure->item.proc = proc;
        return 1;
    }
    *slot = Slot{hash, new Procedure{std::string(name, length), CDApiItem{0, proc}}};
    if (++procedures->used * 2 > procedures->slots.size()) Grow(*procedures);
    return 1;
}

// Removal shifts later members of the run back, so no lookup ever stops at
// a hole that used to hold something.
int CDApiManager::Unregister(const char* kind, const char* name)
{
    if (kind == nullptr || name == nullptr) return 0;
    Kind* procedures = FindKind(kind);
    if (procedures == nullptr) return 0;
    size_t length = 0;
    const uint64_t hash = HashName(name, length);
    Slot* found = FindSlot(*procedures, name, length, hash);
    if (found->procedure == nullptr) return 0;
    delete found->procedure;
    found->procedure = nullptr;
    --procedures->used;

    std::vector<Slot>& slots = procedures->slots;
    const size_t mask = slots.size() - 1;
    size_t hole = static_cast<size_t>(found - slots.data());
    for (size_t i = (hole + 1) & mask; slots[i].procedure != nullptr; i = (i + 1) & mask) {
        const size_t home = slots[i].hash & mask;
        // The entry may move into the hole when its home is not between the hole and it.
        if (((i - home) & mask) >= ((i - hole) & mask)) {
            slots[hole] = std::exchange(slots[i], Slot{0, nullptr});
            hole = i;
        }
    }
    return 1;
}
