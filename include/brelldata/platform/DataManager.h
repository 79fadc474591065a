#pragma once

#include <brelldata/Export.h>

#include <map>
#include <string>

class CDataManager;

// The base of every object a data manager holds by name. Its seven operations
// keep this slot order; a derived class supplies the payload's block.
class BRELL_API CDataObjectBase {
public:
    CDataObjectBase() = default;
    CDataObjectBase(const CDataObjectBase&) = delete;
    CDataObjectBase& operator=(const CDataObjectBase&) = delete;
    virtual ~CDataObjectBase();

    // The size of the payload's block.
    virtual int SizeOfByte() = 0;
    virtual int Read(void* block) = 0;
    virtual int Write(void* block) = 0;
    // A new[] block of SizeOfByte() bytes filled by Write, owned by the caller;
    // null when the size is below 1 or Write fails.
    virtual void* MakeBlock();
    // Reads a block made by MakeBlock, then delete[]s it.
    virtual void TakeBlock(void* block);
    // Does nothing.
    virtual void Hook();
};

// Receives what a data manager reports about an object with an owner.
class BRELL_API CNotify {
public:
    virtual ~CNotify();
    // Event 1: the manager let go of object, which it held under name for
    // the owner; the notifier now decides its fate. parameter is always null here.
    virtual void Notify(CDataManager* manager, const char* name, CDataObjectBase* object, int event, const char* owner,
                        void* parameter) = 0;
};

// Holds data objects by name (exact, case-sensitive). An object with an owner
// is handed to its owner's notifier when the manager lets go of it; one
// without an owner stays the caller's at UnRegister and is deleted by the
// manager's destructor if still held then.
class BRELL_API CDataManager {
public:
    CDataManager();
    CDataManager(const CDataManager&) = delete;
    CDataManager& operator=(const CDataManager&) = delete;
    // Reports event 1 for each owned object and deletes each unowned one.
    ~CDataManager();

    // The object held under name; null when absent or for a null name.
    CDataObjectBase* GetData(const char* name);
    // 1 when the manager now holds object under name; 0 for a null name or
    // object, a name already taken or an object already held under another name.
    int Register(const char* name, CDataObjectBase* object);
    // Gives the object under name an owner and its notifier (replacing any
    // earlier one; a null notifier leaves it unowned); 0 when the name is absent.
    int Owner(const char* name, const char* ownerName, CNotify* notify);
    // Takes the object out and reports event 1 to its owner's notifier, if
    // any. Returns the object, which an owner may already have deleted, or
    // null when the name is absent.
    CDataObjectBase* UnRegister(const char* name);

private:
    struct Entry {
        CDataObjectBase* object;
        std::string owner;
        CNotify* notify;
    };
    // Ends the manager's hold on an entry taken out of the table.
    void LetGo(const std::string& name, Entry& entry, bool deleteUnowned);

    std::map<std::string, Entry, std::less<>> entries_;
};
