#include "python/Bindings.h"

#include <brelldata/geo/GeoBaseNode.h>
#include <brelldata/procedures/DApi.h>
#include <brelldata/procedures/ProcedureNames.h>
#include <brelldata/scan/ObjectNodes.h>

#include <array>
#include <optional>
#include <utility>

namespace brell::python {

namespace {

// The procedure directory calls plain functions with (node, argument) and
// nothing else, so each Python procedure gets one of a fixed set of
// trampolines, which knows its slot.
constexpr size_t kSlots = 64;

struct Slot {
    std::string kind;
    std::string name;
    py::object function;
};

std::array<Slot, kSlots>& Slots()
{
    static std::array<Slot, kSlots> slots;
    return slots;
}

// The first exception a Python procedure raised during the current call into
// the library. Exceptions do not cross the library's frames: procedures
// called after it do nothing and report success, and the module raises it
// again when the library returns (RaisePendingError).
std::optional<py::error_already_set> pendingError;
// The context draw_tree hands its procedures, recognised when it comes back.
const py::object* drawContext = nullptr;

// A node handed to a procedure, as Python sees it. One that nobody holds
// goes as None: a reference taken and dropped by Python would destroy it
// under the library's feet.
py::object NodeArgument(void* node)
{
    auto* held = static_cast<CBaseNode*>(node);
    return held == nullptr || held->RefCount() < 1 ? py::none() : py::cast(HeldNode(held));
}

// A procedure's result as the library reads it: true means done.
int Succeeded(const py::object& result)
{
    return PyObject_IsTrue(result.ptr()) == 1 ? 1 : 0;
}

// Runs a Python geometry procedure. An output node nobody holds yet (the new
// reference node GeoCalc hangs under its output only after a successful
// call, and releases after a failed one) must not be counted from Python, so
// the procedure fills a node of its own, whose children then move over.
int CallGeometry(const py::object& function, CBaseNode* node, CBaseNode* output)
{
    if (output == nullptr || output->RefCount() > 0)
        return Succeeded(function(NodeArgument(node), NodeArgument(output)));
    HeldNode collector(CBaseNode::Create());
    if (collector.get() == nullptr) throw std::bad_alloc();
    const int result = Succeeded(function(NodeArgument(node), py::cast(collector)));
    if (result != 0) {
        for (unsigned int i = 0; i < collector->GetChildNum(); ++i) output->AppendChild(collector->GetChild(i));
        while (collector->GetChildNum() != 0) collector->RemoveChild(collector->GetChildNum() - 1, 1);
    }
    return result;
}

int Call(size_t index, void* node, void* argument)
{
    py::gil_scoped_acquire locked;
    const Slot& slot = Slots()[index];
    if (pendingError || !slot.function) return pendingError ? 1 : 0;
    try {
        if (slot.kind == kGeoProcedure.kind)
            return CallGeometry(slot.function, static_cast<CBaseNode*>(node), static_cast<CBaseNode*>(argument));
        const py::object context = argument == drawContext ? *drawContext : py::none();
        return Succeeded(slot.function(NodeArgument(node), context));
    } catch (py::error_already_set& error) {
        pendingError = std::move(error);
    } catch (const std::exception& error) {
        PyErr_SetString(PyExc_RuntimeError, error.what());
        pendingError = py::error_already_set();
    }
    return 1;
}

template <size_t Index>
int Trampoline(void* node, void* argument)
{
    return Call(Index, node, argument);
}

template <size_t... Index>
constexpr std::array<DAPI_PROC, kSlots> MakeTrampolines(std::index_sequence<Index...>)
{
    return {&Trampoline<Index>...};
}

constexpr std::array<DAPI_PROC, kSlots> kTrampolines = MakeTrampolines(std::make_index_sequence<kSlots>());

void Unregister(const std::string& kind, const std::string& name)
{
    for (Slot& slot : Slots()) {
        if (slot.function && slot.kind == kind && slot.name == name) {
            GetDApiManager()->Unregister(kind.c_str(), name.c_str());
            slot = Slot{};
        }
    }
}

void Register(const std::string& kind, const std::string& name, py::function function)
{
    Unregister(kind, name);
    auto& slots = Slots();
    for (size_t i = 0; i < kSlots; ++i) {
        if (slots[i].function) continue;
        slots[i] = Slot{kind, name, std::move(function)};
        GetDApiManager()->Register(kind.c_str(), name.c_str(), kTrampolines[i]);
        return;
    }
    throw py::value_error("at most " + std::to_string(kSlots) + " Python procedures can be registered at once");
}

// Takes every Python procedure out of the directory before the interpreter ends.
void UnregisterAll()
{
    for (Slot& slot : Slots()) {
        if (slot.function) GetDApiManager()->Unregister(slot.kind.c_str(), slot.name.c_str());
        slot = Slot{};
    }
}

}  // namespace

void RaisePendingError()
{
    if (!pendingError) return;
    py::error_already_set error = std::move(*pendingError);
    pendingError.reset();
    throw error;
}

void BindProcedures(py::module_& module)
{
    module.attr("DRAW_PROCEDURE") = kDrawProcedure.kind;
    module.attr("GEO_PROCEDURE") = kGeoProcedure.kind;
    module.def(
        "procedure_name",
        [](const std::string& prefix, const std::string& typeName, const std::string& callerName) {
            for (const ProcedureNaming* naming : {&kDrawProcedure, &kEndDrawProcedure, &kGeoProcedure})
                if (naming->prefix == prefix) return ProcedureName(*naming, typeName, callerName);
            throw py::value_error("the prefix is \"Draw\", \"EndDraw\" or \"Geo\"");
        },
        py::arg("prefix"), py::arg("type_name"), py::arg("caller_name"),
        R"(The name the library looks up (ProcedureName): procedure_name("Draw", "CGeoPointNode", "GL")
is "DrawCGeoPointNodeByGL", procedure_name("Geo", "CModelNode", "points") "GeoCModelNode_points".)");
    module.def("register_procedure", &Register, py::arg("kind"), py::arg("name"), py::arg("function"),
               R"(Registers a Python function in the procedure directory (CDApiManager::Register).

Draw procedures (kind DRAW_PROCEDURE) are called as function(node, context)
with the context given to draw_tree; geometry procedures (GEO_PROCEDURE) as
function(node, output), and hang what they make under output (a node that
nobody holds comes as None). A true result
means done; a false one hands the node to its base class's procedure. An
exception propagates out of the draw_tree or geo_calc call that led to it.
Registering a name again replaces its procedure.)");
    module.def("unregister_procedure", &Unregister, py::arg("kind"), py::arg("name"),
               "Takes a Python procedure out of the directory (CDApiManager::Unregister).");
    module.add_object("_unregister_procedures", py::cpp_function(&UnregisterAll));
    py::module_::import("atexit").attr("register")(module.attr("_unregister_procedures"));

    module.def(
        "draw_tree",
        [](CBaseNode* root, const std::string& renderer, const py::object& context) {
            const py::object* outer = std::exchange(drawContext, &context);
            const int result = DrawTree(root, renderer.c_str(), const_cast<py::object*>(&context));
            drawContext = outer;
            RaisePendingError();
            return result != 0;
        },
        py::arg("root"), py::arg("renderer"), py::arg("context") = py::none(),
        R"(Draws a tree with the procedures registered for a renderer name (DrawTree).

Python draw procedures get context as their second argument. False when some
node was not drawn.)");
}

}  // namespace brell::python
