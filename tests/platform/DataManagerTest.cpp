#include <brelldata/platform/DataManager.h>

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

namespace {

// A host object whose payload is a size and a fill byte; counts live instances.
class CTestObject : public CDataObjectBase {
public:
    explicit CTestObject(int size = 3) : size(size) { ++live; }
    ~CTestObject() override { --live; }
    int SizeOfByte() override { return size; }
    int Read(void* block) override
    {
        read = block == nullptr ? -1 : *static_cast<unsigned char*>(block);
        return 1;
    }
    int Write(void* block) override
    {
        for (int i = 0; i < size; ++i) static_cast<unsigned char*>(block)[i] = 0x5A;
        return writes;
    }
    int size;
    int read = 0;
    int writes = 1;
    static inline int live = 0;
};

// Manager, name, object, event and owner of one report.
using Report = std::tuple<CDataManager*, std::string, CDataObjectBase*, int, std::string>;

// Records each report and deletes the object, as an owner does.
class CRecordingNotify : public CNotify {
public:
    void Notify(CDataManager* manager, const char* name, CDataObjectBase* object, int event, const char* owner,
                void* parameter) override
    {
        EXPECT_EQ(parameter, nullptr);
        reports.emplace_back(manager, name, object, event, owner);
        delete object;
    }
    std::vector<Report> reports;
};

TEST(DataManager, RefusesWhatItCannotHold)
{
    CDataManager manager;
    CTestObject held, other;
    ASSERT_EQ(manager.Register("a", &held), 1);
    EXPECT_EQ(manager.Register(nullptr, &other), 0);
    EXPECT_EQ(manager.Register("b", nullptr), 0);
    EXPECT_EQ(manager.Register("a", &other), 0);
    EXPECT_EQ(manager.Register("b", &held), 0);
    EXPECT_EQ(std::tuple(manager.GetData("a"), manager.GetData("A"), manager.GetData("b"), manager.GetData(nullptr)),
              std::tuple(&held, nullptr, nullptr, nullptr));
    EXPECT_EQ(manager.Owner("b", "x", nullptr), 0);
    EXPECT_EQ(manager.UnRegister("a"), &held);
    EXPECT_EQ(manager.UnRegister("a"), nullptr);
}

// A block taken back is freed.
TEST(DataObjects, MakeBlocksOfTheirSizeAndTakeThemBack)
{
    CTestObject object;
    auto* block = static_cast<unsigned char*>(object.MakeBlock());
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(block[2], 0x5A);
    object.TakeBlock(block);
    EXPECT_EQ(object.read, 0x5A);

    object.writes = 0;
    EXPECT_EQ(object.MakeBlock(), nullptr) << "a failed write hands out no block";
    CTestObject empty(0);
    EXPECT_EQ(empty.MakeBlock(), nullptr);
}

TEST(DataManager, ReportsOwnedObjectsOnceAndDeletesUnownedOnesAtTheEnd)
{
    const int before = CTestObject::live;
    CRecordingNotify notify;
    auto* unregistered = new CTestObject;
    auto* kept = new CTestObject;
    CTestObject* unowned = new CTestObject;
    CTestObject* leftUnowned = new CTestObject;
    {
        CDataManager manager;
        for (auto [name, object] : {std::pair{"u", unregistered}, {"k", kept}, {"n", unowned}, {"l", leftUnowned}})
            ASSERT_EQ(manager.Register(name, object), 1);
        ASSERT_EQ(manager.Owner("u", "me", &notify), 1);
        ASSERT_EQ(manager.Owner("k", "me", &notify), 1);

        EXPECT_EQ(manager.UnRegister("u"), unregistered);
        ASSERT_EQ(notify.reports.size(), 1u);
        EXPECT_EQ(notify.reports[0], Report(&manager, "u", unregistered, 1, "me"));

        EXPECT_EQ(manager.UnRegister("n"), unowned);  // still alive: it is the caller's now
        EXPECT_EQ(CTestObject::live, before + 3);
    }
    ASSERT_EQ(notify.reports.size(), 2u);
    EXPECT_EQ(std::get<CDataObjectBase*>(notify.reports[1]), kept);
    EXPECT_EQ(CTestObject::live, before + 1);
    delete unowned;
}

}  // namespace
