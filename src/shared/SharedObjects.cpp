#include <brelldata/shared/SharedObjects.h>

#include <brelldata/core/Tree.h>
#include <brelldata/platform/DataManager.h>
#include <brelldata/shared/NameList.h>

#include <new>

namespace {

constexpr int kNameListCode = 2001;
constexpr int kTreeCode = 2002;
constexpr char kAutoCloseOwner[] = "DefaultTreeAutoClose";

// A data object holding one payload that it owns, tagged with its record code.
template <class Payload, int Code>
class CPayloadObject final : public CDataObjectBase {
public:
    using PayloadType = Payload;

    ~CPayloadObject() override { delete payload; }
    int SizeOfByte() override { return IsSound() ? payload->SizeOfByte() : 0; }
    int Read(void* block) override { return IsSound() ? payload->Read(block) : 0; }
    int Write(void* block) override { return IsSound() ? payload->Write(block) : 0; }

    // The payload of the object when it is one of this class with its own
    // code; null for anything else, the host's own objects included.
    static Payload* PayloadOf(CDataObjectBase* object)
    {
        auto* own = dynamic_cast<CPayloadObject*>(object);
        return own != nullptr && own->IsSound() ? own->payload : nullptr;
    }

    Payload* payload = new Payload;
    int recordCode = Code;

private:
    bool IsSound() const { return payload != nullptr && recordCode == Code; }
};

using CTreeObject = CPayloadObject<CTree, kTreeCode>;
using CNameListObject = CPayloadObject<CNameList, kNameListCode>;

// Deletes a tree object when its manager lets go of it (event 1).
class CAutoCloseNotify final : public CNotify {
public:
    void Notify(CDataManager*, const char*, CDataObjectBase* object, int event, const char*, void*) override
    {
        if (event == 1 && CTreeObject::PayloadOf(object) != nullptr) delete object;
    }
};

// Made on the first CreateTree and never destroyed: a manager that the host
// ends during exit may still report to it after the library's statics are gone.
CNotify* AutoCloseNotifier()
{
    alignas(CAutoCloseNotify) static unsigned char storage[sizeof(CAutoCloseNotify)];
    static CNotify* const notifier = new (storage) CAutoCloseNotify;
    return notifier;
}

// Registers a new object of the given class under name: its payload, or null
// (and nothing kept) when the manager refuses.
template <class Object>
typename Object::PayloadType* RegisterNew(CDataManager* manager, const char* name)
{
    auto* object = new Object;
    if (manager->Register(name, object) != 0) return object->payload;
    delete object;
    return nullptr;
}

}  // namespace

CTree* CreateTree(CDataManager* manager, const char* name)
{
    CNotify* notifier = AutoCloseNotifier();
    if (manager == nullptr) return nullptr;
    if (CTree* kept = CTreeObject::PayloadOf(manager->GetData(name))) return kept;
    CTree* tree = RegisterNew<CTreeObject>(manager, name);
    if (tree != nullptr) manager->Owner(name, kAutoCloseOwner, notifier);
    return tree;
}

CTree* GetTree(CDataManager* manager, const char* name)
{
    return manager == nullptr ? nullptr : CTreeObject::PayloadOf(manager->GetData(name));
}

int FreeTree(CDataManager* manager, const char* name)
{
    if (manager != nullptr) manager->UnRegister(name);
    return 1;
}

CNameList* CreateNameList(const char* name, CDataManager* manager)
{
    return manager == nullptr ? nullptr : RegisterNew<CNameListObject>(manager, name);
}

CNameList* GetNameList(const char* name, CDataManager* manager)
{
    return manager == nullptr ? nullptr : CNameListObject::PayloadOf(manager->GetData(name));
}

int FreeNameList(const char* name, CDataManager* manager)
{
    if (manager == nullptr) return 0;
    CDataObjectBase* object = manager->GetData(name);
    if (CNameListObject::PayloadOf(object) == nullptr) return 0;
    manager->UnRegister(name);
    delete object;
    return 1;
}
