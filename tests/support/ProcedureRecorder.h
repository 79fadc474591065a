#pragma once

// Procedures for the procedure directory that record every call and return
// a result the test chooses. Each registered name gets a procedure of its own,
// so a call names the procedure that was found. The recorder unregisters
// everything it registered when it goes.

#include <brelldata/core/BaseNode.h>
#include <brelldata/procedures/DApi.h>

#include <array>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace brell::test {

class ProcedureRecorder {
public:
    ProcedureRecorder() { current = this; }
    ~ProcedureRecorder()
    {
        for (size_t i = 0; i < used_; ++i) GetDApiManager()->Unregister(slots[i].kind.c_str(), slots[i].name.c_str());
        used_ = 0;
        current = nullptr;
    }

    // Registers a procedure under kind and name that records "name node-name"
    // and returns result.
    void Register(const char* kind, const std::string& name, int result)
    {
        if (used_ == kSlots) throw std::length_error("too many recorded procedures");
        slots[used_] = {kind, name, result};
        GetDApiManager()->Register(kind, name.c_str(), Procedures()[used_++]);
    }

    // From now on every procedure returns 0 for the node of that name.
    void FailFor(const std::string& nodeName) { failingNode_ = nodeName; }

    // The calls so far, and forgets them.
    std::vector<std::string> TakeCalls() { return std::exchange(calls_, {}); }

    // The output node of the last call (a geometry procedure's second argument).
    void* lastArgument = nullptr;

private:
    static constexpr size_t kSlots = 64;
    struct Slot {
        std::string kind;
        std::string name;
        int result;
    };

    template <size_t N>
    static int Record(void* node, void* argument)
    {
        const Slot& slot = current->slots[N];
        const std::string& nodeName = static_cast<CBaseNode*>(node)->Name();
        current->calls_.push_back(slot.name + " " + nodeName);
        current->lastArgument = argument;
        return nodeName == current->failingNode_ ? 0 : slot.result;
    }
    template <size_t... N>
    static constexpr std::array<DAPI_PROC, kSlots> MakeProcedures(std::index_sequence<N...>)
    {
        return {&Record<N>...};
    }
    static const std::array<DAPI_PROC, kSlots>& Procedures()
    {
        static constexpr std::array<DAPI_PROC, kSlots> procedures = MakeProcedures(std::make_index_sequence<kSlots>());
        return procedures;
    }

    static inline ProcedureRecorder* current = nullptr;
    std::array<Slot, kSlots> slots;
    size_t used_ = 0;
    std::vector<std::string> calls_;
    std::string failingNode_;
};

}  // namespace brell::test
