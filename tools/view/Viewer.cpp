// The viewer, a host application of the library in one file: it keeps the
// scan in one tree and what it shows in another (a camera node, an optional
// light, reference nodes whose GPU caches hold each element's geometry, and
// 2-D overlays for the status line, the lasso and the selection); draws that
// tree through the reference renderer into the window; and turns mouse and
// keys into camera moves, region cuts with undo, and safe saves.

#include "Viewer.h"

#include "Orbit.h"
#include "StatusText.h"

#include <brelldata/core/BaseNode.h>
#include <brelldata/geo/GroupNodes.h>
#include <brelldata/geo/LightCameraNodes.h>
#include <brelldata/geo/OverlayNodes.h>
#include <brelldata/gl/Cut.h>
#include <brelldata/gl/Picture.h>
#include <brelldata/io/Files.h>
#include <brelldata/io/ScanScene.h>
#include <brelldata/scan/ModelNodes.h>
#include <brelldata/scan/ObjectNodes.h>

#define GLFW_INCLUDE_NONE
#include <GLFW/glfw3.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <memory>
#include <sstream>
#include <thread>
#include <vector>

namespace brell::view {

namespace {

using Clock = std::chrono::steady_clock;

// Overlay colours hold red in the low byte.
constexpr uint32_t kLassoColor = 0x00FFFF;
constexpr uint32_t kCutColor = 0x3050FF;
constexpr uint32_t kKeepColor = 0x60FF60;
constexpr uint32_t kTextColor = 0xE0E0E0;
constexpr uint32_t kBarColor = 0x2E2622;
constexpr int kSelectionOpacity = 90;
constexpr int kTextScale = 2;
constexpr RGBA kBackground{34, 38, 46, 255};

// The parts of a scan that get geometry of their own, so that a cut in one
// recalculates only that one: the root when it is scan data, else its
// scan-data children. None for a scene of geometry alone.
std::vector<CBaseNode*> PartsOf(CBaseNode* root)
{
    if (root->IsKindOf(CObjectNode::TypeId())) return {root};
    std::vector<CBaseNode*> parts;
    for (unsigned int i = 0; i < root->GetChildNum(); ++i)
        if (root->GetChild(i)->IsKindOf(CObjectNode::TypeId())) parts.push_back(root->GetChild(i));
    return parts;
}

struct Counts {
    long long vertices = 0, polygons = 0;
};

// The vertices and polygons of the models and meshes under roots.
Counts CountsIn(const std::vector<CBaseNode*>& roots)
{
    Counts counts;
    std::vector<CBaseNode*> pending(roots);
    while (!pending.empty()) {
        CBaseNode* node = pending.back();
        pending.pop_back();
        if (auto* model = AsKindOf<CModelNode>(node)) counts.vertices += model->VertexNumber();
        if (auto* mesh = AsKindOf<CMeshNode>(node)) counts.polygons += mesh->polygons->Number();
        for (unsigned int i = 0; i < node->GetChildNum(); ++i) pending.push_back(node->GetChild(i));
    }
    return counts;
}

// A part of more vertices is drawn afresh each frame, a bounded piece at a
// time, rather than kept on the GPU: a copy of a large scan's positions there
// would cost half as much memory again as the scan itself.
constexpr long long kCachedVertices = 1 << 22;

bool Holds(CBaseNode* root, CBaseNode* node)
{
    if (root == node) return true;
    for (unsigned int i = 0; i < root->GetChildNum(); ++i)
        if (Holds(root->GetChild(i), node)) return true;
    return false;
}

// The geometry of one part by the reference procedure mode. GeoCalc only
// looks procedures up, so it may run while the window draws.
void CalculatePart(CBaseNode* part, const std::string& mode, CBaseNode* output)
{
    if (auto* object = AsKindOf<CObjectNode>(part)) object->GeoCalc(mode.c_str(), output);
}

template <class Node>
Node* Hang(CBaseNode* parent, Node* node)
{
    parent->AppendChild(node);
    return node;
}

void RemoveAll(CBaseNode* node)
{
    while (node->GetChildNum() > 0) node->RemoveChild(node->GetChildNum() - 1, 1);
}

std::string Thousands(long long n)
{
    std::string digits = std::to_string(n);
    for (int at = static_cast<int>(digits.size()) - 3; at > 0; at -= 3) digits.insert(static_cast<size_t>(at), ",");
    return digits;
}

// What the loading thread hands over: the scan and each part's geometry.
struct Loaded {
    CTree scan;
    std::vector<CTree> geometry;
};

class Viewer {
public:
    explicit Viewer(const Settings& settings) : settings_(settings), mode_(settings.mode)
    {
        display_.SetRoot(CBaseNode::Create());
        camera_ = Hang(display_.Root(), new CGeoCameraNode);
        scene_ = Hang(display_.Root(), new CGeoBaseNode);
        statusRef_ = Hang(display_.Root(), new CGeoRefNode);
        status_.SetRoot(new CGeoBaseNode);
        statusRef_->SetRefNode(status_.Root());
        overlays_ = Hang(display_.Root(), new CGeoBaseNode);
    }

    ~Viewer()
    {
        if (loader_.joinable()) loader_.join();
        // The caches go with the nodes while the window's context lives.
        display_.SetRoot(nullptr);
        renderer_.reset();
        if (window_ != nullptr) glfwDestroyWindow(window_);
        // No glfwTerminate: it would terminate GLFW's EGL display and so
        // unload Mesa's driver, which then loses what it allocated, as the
        // renderer's own display is kept for the process.
    }

    int Run();

    // Input from GLFW or the replay file, in window pixels.
    void OnKey(int key, int mods);
    void OnButton(int button, bool pressed, int mods);
    void OnCursor(double x, double y);
    void OnScroll(double steps) { orbit_.Zoom(steps, cursorX_, cursorY_, width_, height_); }
    void OnResize(int width, int height);
    void OnClose();

private:
    enum class Drag { none, turn, pan, lasso, box };

    void StartLoading();
    void FinishLoading();
    void Calculate(size_t part);
    void Fit();
    void DrawFrame();
    void UpdateStatus();
    void ShowProgress();
    void EndDrag();
    void ShowSelection();
    void ClearSelection();
    void Cut();
    void Refresh(const std::vector<CBaseNode*>& changed);
    void SetMode(const std::string& mode);
    void ToggleEyeLight();
    bool Save();
    void AskToQuit();
    bool PlayNext();

    const Settings& settings_;
    GLFWwindow* window_ = nullptr;
    std::unique_ptr<gl::Renderer> renderer_;
    int width_ = 0, height_ = 0;

    // The displayed tree and the nodes of it the viewer changes.
    CTree display_;
    CGeoCameraNode* camera_ = nullptr;
    CGeoLightNode* light_ = nullptr;
    CGeoBaseNode* scene_ = nullptr;     // a reference node per part
    CGeoRefNode* statusRef_ = nullptr;  // the status line, cached until its text changes
    CGeoBaseNode* overlays_ = nullptr;  // lasso, box, selection, prompts
    CTree status_;
    std::string statusText_;

    // The scan, its parts and their geometry, each drawn through scene_'s reference nodes.
    CTree scan_;
    std::vector<CBaseNode*> parts_;
    std::vector<CTree> geometry_;
    std::vector<CGeoRefNode*> references_;
    std::string mode_;
    Orbit orbit_;

    std::thread loader_;
    std::atomic<double> loadedFraction_{0.0};
    std::atomic<bool> loadDone_{false};
    std::unique_ptr<Loaded> loaded_;
    std::exception_ptr loadError_;
    bool ready_ = false;

    Drag drag_ = Drag::none;
    double cursorX_ = 0.0, cursorY_ = 0.0;
    bool lassoArmed_ = false, boxArmed_ = false;
    CGeoLine2DNode* lasso_ = nullptr;
    CGeoRectangle2DNode* box_ = nullptr;
    POINT boxStart_{0, 0};
    CRgn selection_;
    CGeoRegion2DNode* selectionShown_ = nullptr;
    bool keepInside_ = false;

    gl::CutHistory history_;
    bool unsaved_ = false;
    CGeoBaseNode* question_ = nullptr;  // asked before quitting with unsaved cuts
    std::string message_;

    std::ifstream replay_;
    std::string snapshot_;
    int exitStatus_ = 0;

    double frameMs_ = 0.0, shownFrameMs_ = 0.0;
    Clock::time_point statusTime_ = Clock::now();
    // The first frame uploads the scene; the warm ones after it are summed.
    double firstFrameMs_ = 0.0, firstFrameBytes_ = 0.0;
    long long warmFrames_ = 0, quietFrames_ = 0;
    double warmMsSum_ = 0.0, warmBytesSum_ = 0.0;
};

Viewer* ViewerOf(GLFWwindow* window)
{
    return static_cast<Viewer*>(glfwGetWindowUserPointer(window));
}

std::string glfwFailure;

int Viewer::Run()
{
    glfwSetErrorCallback([](int, const char* description) { glfwFailure = description; });
    if (glfwInit() == GLFW_FALSE) {
        std::fprintf(stderr, "brell: cannot open a window: %s\n", glfwFailure.c_str());
        return 1;
    }
    // The renderer works in EGL contexts: the window's is made with EGL too.
    glfwWindowHint(GLFW_CONTEXT_CREATION_API, GLFW_EGL_CONTEXT_API);
    glfwWindowHint(GLFW_CONTEXT_VERSION_MAJOR, 3);
    glfwWindowHint(GLFW_CONTEXT_VERSION_MINOR, 3);
    glfwWindowHint(GLFW_OPENGL_PROFILE, GLFW_OPENGL_CORE_PROFILE);
    window_ = glfwCreateWindow(settings_.width, settings_.height, ("brell view: " + settings_.name).c_str(), nullptr,
                               nullptr);
    if (window_ == nullptr) {
        std::fprintf(stderr, "brell: cannot open a window: %s\n", glfwFailure.c_str());
        return 1;
    }
    glfwMakeContextCurrent(window_);
    glfwSwapInterval(settings_.replay.empty() ? 1 : 0);
    glfwGetFramebufferSize(window_, &width_, &height_);
    try {
        gl::RegisterProcedures();
        renderer_ = std::make_unique<gl::Renderer>(gl::Renderer::CurrentWindow{}, width_, height_);
    } catch (const gl::RenderError& error) {
        std::fprintf(stderr, "brell: %s\n", error.what());
        return 1;
    }
    glfwSetWindowUserPointer(window_, this);
    glfwSetKeyCallback(window_, [](GLFWwindow* w, int key, int, int action, int mods) {
        if (action != GLFW_RELEASE) ViewerOf(w)->OnKey(key, mods);
    });
    glfwSetMouseButtonCallback(window_, [](GLFWwindow* w, int button, int action, int mods) {
        ViewerOf(w)->OnButton(button, action == GLFW_PRESS, mods);
    });
    glfwSetCursorPosCallback(window_, [](GLFWwindow* w, double x, double y) { ViewerOf(w)->OnCursor(x, y); });
    glfwSetScrollCallback(window_, [](GLFWwindow* w, double, double steps) { ViewerOf(w)->OnScroll(steps); });
    glfwSetFramebufferSizeCallback(window_,
                                   [](GLFWwindow* w, int width, int height) { ViewerOf(w)->OnResize(width, height); });
    glfwSetWindowCloseCallback(window_, [](GLFWwindow* w) { ViewerOf(w)->OnClose(); });
    if (!settings_.replay.empty()) {
        replay_.open(settings_.replay);
        if (!replay_) {
            std::fprintf(stderr, "brell: %s: cannot read the replay file\n", settings_.replay.c_str());
            return 1;
        }
    }

    StartLoading();
    while (!glfwWindowShouldClose(window_)) {
        if (!ready_) {
            glfwWaitEventsTimeout(0.05);
            if (loadDone_) {
                FinishLoading();
                if (loadError_) return 1;
            }
        } else if (replay_.is_open()) {
            glfwPollEvents();
            if (!PlayNext()) break;
        } else {
            glfwWaitEventsTimeout(0.5);
        }
        DrawFrame();
    }
    if (settings_.timing)
        std::printf(
            "first frame of %dx%d: %.1f ms, %.0f bytes uploaded; %lld warm frames: %.1f ms and %.0f bytes "
            "uploaded each, %lld of them uploading nothing\n",
            width_, height_, firstFrameMs_, firstFrameBytes_, warmFrames_,
            warmFrames_ > 0 ? warmMsSum_ / warmFrames_ : 0.0, warmFrames_ > 0 ? warmBytesSum_ / warmFrames_ : 0.0,
            quietFrames_);
    return exitStatus_;
}

// Reading and calculating take long for large scans, so they run beside the
// window, which shows how far the file has come.
void Viewer::StartLoading()
{
    loader_ = std::thread([this] {
        try {
            io::FileProgressScope progress([this](uint64_t done, uint64_t total) {
                loadedFraction_ = total > 0 ? 0.9 * static_cast<double>(done) / static_cast<double>(total) : 0.0;
            });
            auto loaded = std::make_unique<Loaded>();
            loaded->scan = settings_.open();
            if (mode_.empty()) {
                int images = 0;
                for (CBaseNode* part : PartsOf(loaded->scan.Root()))
                    for (unsigned int i = 0; i < part->GetChildNum(); ++i)
                        if (auto* mesh = AsKindOf<CMeshNode>(part->GetChild(i))) images += mesh->ImageNumber();
                mode_ = images > 0 ? gl::kTextureProcedure : gl::kSmoothProcedure;
            }
            for (CBaseNode* part : PartsOf(loaded->scan.Root()))
                CalculatePart(part, mode_, loaded->geometry.emplace_back(CBaseNode::Create()).Root());
            loaded_ = std::move(loaded);
        } catch (const std::exception& error) {
            std::fprintf(stderr, "brell: %s\n", error.what());
            loadError_ = std::current_exception();
        }
        loadDone_ = true;
    });
}

void Viewer::FinishLoading()
{
    loader_.join();
    if (loadError_) return;
    scan_ = loaded_->scan;
    geometry_ = std::move(loaded_->geometry);
    loaded_.reset();
    parts_ = PartsOf(scan_.Root());
    // A scene of geometry alone is drawn as it is.
    if (parts_.empty()) geometry_.push_back(scan_);
    for (size_t part = 0; part < geometry_.size(); ++part) {
        if (part < parts_.size() && CountsIn({parts_[part]}).vertices > kCachedVertices) {
            Hang(scene_, geometry_[part].Root());
            references_.push_back(nullptr);
            continue;
        }
        CGeoRefNode* reference = Hang(scene_, new CGeoRefNode);
        reference->SetRefNode(geometry_[part].Root());
        references_.push_back(reference);
    }
    RemoveAll(overlays_);
    ready_ = true;
    Fit();
}

void Viewer::Calculate(size_t part)
{
    RemoveAll(geometry_[part].Root());
    CalculatePart(parts_[part], mode_, geometry_[part].Root());
    if (references_[part] != nullptr) references_[part]->ReleaseCache();
}

void Viewer::Fit()
{
    gl::RenderOptions options;
    options.width = width_;
    options.height = height_;
    double box[6] = {-1, -1, -1, 1, 1, 1};
    if (!io::ScanSceneBox(scan_.Root(), box))
        EvalBBoxForNode(scan_.Root(), box[0], box[1], box[2], box[3], box[4], box[5]);
    orbit_.Fit(gl::SceneCamera(scene_, options), box);
}

void Viewer::DrawFrame()
{
    const Clock::time_point start = Clock::now();
    const uint64_t uploadedBytes = renderer_->UploadedBytes();
    if (ready_) {
        camera_->camera = orbit_.Camera();
        UpdateStatus();
    } else {
        ShowProgress();
    }
    renderer_->BeginFrame(camera_->camera, kBackground);
    renderer_->Draw(display_.Root());
    if (!snapshot_.empty()) {
        try {
            gl::WritePng(snapshot_, width_, height_, renderer_->ReadPixels());
        } catch (const gl::RenderError& error) {
            std::fprintf(stderr, "brell: %s\n", error.what());
            exitStatus_ = 1;
        }
        snapshot_.clear();
    }
    glfwSwapBuffers(window_);
    frameMs_ = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    if (!ready_) return;
    const double uploaded = static_cast<double>(renderer_->UploadedBytes() - uploadedBytes);
    if (firstFrameMs_ == 0.0) {
        firstFrameMs_ = frameMs_;
        firstFrameBytes_ = uploaded;
        return;
    }
    ++warmFrames_;
    warmMsSum_ += frameMs_;
    warmBytesSum_ += uploaded;
    if (uploaded == 0.0) ++quietFrames_;
}

// The status line changes its text, and so uploads, at most once a second.
void Viewer::UpdateStatus()
{
    const auto [vertices, polygons] = CountsIn(parts_);
    if (Clock::now() - statusTime_ > std::chrono::seconds(1)) {
        statusTime_ = Clock::now();
        shownFrameMs_ = frameMs_;
    }
    char frame[32];
    std::snprintf(frame, sizeof frame, "%.0f ms", shownFrameMs_);
    std::string text = settings_.name + "   " + Thousands(vertices) + " vertices   " + Thousands(polygons) +
                       " polygons   " + mode_ + "   " + frame;
    if (unsaved_) text += "   unsaved cuts";
    if (!message_.empty()) text += "   " + message_;
    if (text == statusText_) return;
    statusText_ = text;
    RemoveAll(status_.Root());
    const RECT bar{0, height_ - 7 * kTextScale, width_, height_};
    Hang(status_.Root(), new CGeoRectangle2DNode(&bar, 1, kBarColor, 0));
    Hang(status_.Root(), TextOverlay(text, kTextScale * 2, height_ - 6 * kTextScale, kTextScale, kTextColor));
    statusRef_->ReleaseCache();
}

void Viewer::ShowProgress()
{
    RemoveAll(overlays_);
    const int percent = static_cast<int>(100.0 * loadedFraction_);
    const std::string text = "loading " + settings_.name + "   " + std::to_string(percent) + "%";
    Hang(overlays_,
         TextOverlay(text, (width_ - TextWidth(text, kTextScale)) / 2, height_ / 2 - 20, kTextScale, kTextColor));
    const RECT frame{width_ / 4, height_ / 2, width_ * 3 / 4, height_ / 2 + 12};
    Hang(overlays_, new CGeoRectangle2DNode(&frame, 0, kTextColor, 1));
    const RECT done{frame.left, frame.top, frame.left + (frame.right - frame.left) * percent / 100, frame.bottom};
    Hang(overlays_, new CGeoRectangle2DNode(&done, 1, kTextColor, 0));
}

void Viewer::OnKey(int key, int mods)
{
    if (!ready_) return;
    if (question_ != nullptr) {
        if (key == GLFW_KEY_S && Save()) glfwSetWindowShouldClose(window_, GLFW_TRUE);
        if (key == GLFW_KEY_Y) glfwSetWindowShouldClose(window_, GLFW_TRUE);
        if (key == GLFW_KEY_S || key == GLFW_KEY_Y || key == GLFW_KEY_N || key == GLFW_KEY_ESCAPE) {
            overlays_->RemoveChild(question_, 1);
            question_ = nullptr;
        }
        return;
    }
    const bool control = (mods & GLFW_MOD_CONTROL) != 0, shift = (mods & GLFW_MOD_SHIFT) != 0;
    if (control) {
        const gl::CutStep* step = key == GLFW_KEY_Z ? history_.Undo() : key == GLFW_KEY_Y ? history_.Redo() : nullptr;
        if (step != nullptr) {
            Refresh(step->Nodes());
            unsaved_ = true;
        }
        if (key == GLFW_KEY_S) Save();
        return;
    }
    if (key >= GLFW_KEY_KP_1 && key <= GLFW_KEY_KP_6) orbit_.SetView(key - GLFW_KEY_KP_1);
    if (shift && key >= GLFW_KEY_1 && key <= GLFW_KEY_6) orbit_.SetView(key - GLFW_KEY_1);
    if (!shift && key >= GLFW_KEY_1 && key <= GLFW_KEY_5) SetMode(gl::kProcedures[key - GLFW_KEY_1]);
    switch (key) {
        case GLFW_KEY_Q:
        case GLFW_KEY_ESCAPE:
            AskToQuit();
            break;
        case GLFW_KEY_F:
            Fit();
            break;
        case GLFW_KEY_E:
            ToggleEyeLight();
            break;
        case GLFW_KEY_L:
            lassoArmed_ = true;
            break;
        case GLFW_KEY_B:
            boxArmed_ = true;
            break;
        case GLFW_KEY_I:
            keepInside_ = !keepInside_;
            ShowSelection();
            break;
        case GLFW_KEY_DELETE:
        case GLFW_KEY_BACKSPACE:
            Cut();
            break;
        default:
            break;
    }
}

void Viewer::OnButton(int button, bool pressed, int mods)
{
    if (!ready_ || question_ != nullptr) return;
    if (!pressed) {
        EndDrag();
        return;
    }
    const POINT at{static_cast<int32_t>(cursorX_), static_cast<int32_t>(cursorY_)};
    if (button == GLFW_MOUSE_BUTTON_RIGHT || (button == GLFW_MOUSE_BUTTON_LEFT && lassoArmed_)) {
        drag_ = Drag::lasso;
        lasso_ = Hang(overlays_, new CGeoLine2DNode(&at, 1, kLassoColor, 0, 1));
    } else if (button == GLFW_MOUSE_BUTTON_LEFT && boxArmed_) {
        drag_ = Drag::box;
        boxStart_ = at;
        const RECT empty{at.x, at.y, at.x, at.y};
        box_ = Hang(overlays_, new CGeoRectangle2DNode(&empty, 0, kLassoColor, 1));
    } else if (button == GLFW_MOUSE_BUTTON_MIDDLE || (button == GLFW_MOUSE_BUTTON_LEFT && (mods & GLFW_MOD_SHIFT))) {
        drag_ = Drag::pan;
    } else if (button == GLFW_MOUSE_BUTTON_LEFT) {
        drag_ = Drag::turn;
    }
    lassoArmed_ = boxArmed_ = false;
}

void Viewer::OnCursor(double x, double y)
{
    const double dx = x - cursorX_, dy = y - cursorY_;
    cursorX_ = x;
    cursorY_ = y;
    const POINT at{static_cast<int32_t>(x), static_cast<int32_t>(y)};
    switch (drag_) {
        case Drag::turn:
            orbit_.Turn(dx, dy);
            break;
        case Drag::pan:
            orbit_.Pan(dx, dy, height_);
            break;
        case Drag::lasso:
            lasso_->points.Append(1);
            lasso_->points.Buffer()[lasso_->points.Number() - 1] = at;
            break;
        case Drag::box: {
            const RECT r{std::min(boxStart_.x, at.x), std::min(boxStart_.y, at.y), std::max(boxStart_.x, at.x),
                         std::max(boxStart_.y, at.y)};
            box_->SetRectangle(&r);
            break;
        }
        case Drag::none:
            break;
    }
}

// A finished lasso or box becomes the selection: the lasso's path filled by
// the even-odd rule, the box as a rectangle.
void Viewer::EndDrag()
{
    if (drag_ == Drag::lasso) {
        ClearSelection();
        if (lasso_->points.Number() >= 3) {
            CDC path;
            path.BeginPath();
            const POINT* points = lasso_->points.Buffer();
            path.MoveTo(points[0].x, points[0].y);
            for (int i = 1; i < lasso_->points.Number(); ++i) path.LineTo(points[i].x, points[i].y);
            path.CloseFigure();
            path.EndPath();
            selection_.Attach(PathToRegion(path.m_hDC));
        }
        overlays_->RemoveChild(lasso_, 1);
        lasso_ = nullptr;
    } else if (drag_ == Drag::box) {
        ClearSelection();
        const RECT r = box_->rectangle;
        if (r.right > r.left && r.bottom > r.top) selection_.CreateRectRgn(r.left, r.top, r.right, r.bottom);
        overlays_->RemoveChild(box_, 1);
        box_ = nullptr;
    }
    drag_ = Drag::none;
    ShowSelection();
}

void Viewer::ShowSelection()
{
    if (selectionShown_ != nullptr) overlays_->RemoveChild(selectionShown_, 1);
    selectionShown_ = nullptr;
    if (selection_.m_hObject == nullptr) return;
    const uint32_t color = keepInside_ ? kKeepColor : kCutColor;
    selectionShown_ = Hang(overlays_, new CGeoRegion2DNode(selection_, color, kSelectionOpacity, color));
}

void Viewer::ClearSelection()
{
    selection_.DeleteObject();
    ShowSelection();
}

void Viewer::Cut()
{
    if (selection_.m_hObject == nullptr) return;
    gl::CutStep step = gl::CutByRegion(scan_.Root(), camera_->camera, width_, height_, selection_, keepInside_);
    ClearSelection();
    keepInside_ = false;
    if (step.Empty()) return;
    Refresh(step.Nodes());
    message_ = "cut " + Thousands(step.RemovedVertices()) + " vertices";
    history_.Add(std::move(step));
    unsaved_ = true;
}

// Recalculates the geometry of the parts holding changed nodes, and lets go
// of their GPU caches; the others stay as uploaded.
void Viewer::Refresh(const std::vector<CBaseNode*>& changed)
{
    for (size_t part = 0; part < parts_.size(); ++part)
        for (CBaseNode* node : changed)
            if (Holds(parts_[part], node)) {
                Calculate(part);
                break;
            }
}

void Viewer::SetMode(const std::string& mode)
{
    if (mode == mode_ || parts_.empty()) return;
    mode_ = mode;
    for (size_t part = 0; part < parts_.size(); ++part) Calculate(part);
}

// Without a light node the renderer lights from the eye; with one, the scene
// keeps its light as it turns.
void Viewer::ToggleEyeLight()
{
    if (light_ != nullptr) {
        display_.Root()->RemoveChild(light_, 1);
        light_ = nullptr;
        return;
    }
    light_ = new CGeoLightNode;
    LIGHT_PARAM light{};
    light.enabled = 1;
    light.ambient[0] = light.ambient[1] = light.ambient[2] = 0.2;
    light.diffuse[0] = light.diffuse[1] = light.diffuse[2] = 0.8;
    light.position[0] = 1.0;
    light.position[1] = 2.0;
    light.position[2] = 3.0;
    light_->Append(light);
    display_.Root()->InsertChild(1, light_);
}

bool Viewer::Save()
{
    try {
        settings_.save(scan_.Root());
        unsaved_ = false;
        message_ = "saved";
        return true;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "brell: %s\n", error.what());
        message_ = "cannot save: see the terminal";
        return false;
    }
}

void Viewer::AskToQuit()
{
    if (!unsaved_) {
        glfwSetWindowShouldClose(window_, GLFW_TRUE);
        return;
    }
    question_ = Hang(overlays_, new CGeoBaseNode);
    const std::string text = "unsaved cuts:  S save and quit,  Y quit without saving,  N stay";
    const RECT back{0, height_ / 2 - 8 * kTextScale, width_, height_ / 2 + 8 * kTextScale};
    Hang(question_, new CGeoRectangle2DNode(&back, 1, kBarColor, 0));
    Hang(question_, TextOverlay(text, (width_ - TextWidth(text, kTextScale)) / 2, height_ / 2 - 3 * kTextScale,
                                kTextScale, kTextColor));
}

void Viewer::OnResize(int width, int height)
{
    if (width < 1 || height < 1) return;
    width_ = width;
    height_ = height;
    renderer_->Resize(width, height);
    ClearSelection();
    statusText_.clear();
}

void Viewer::OnClose()
{
    if (!unsaved_ || !ready_) return;
    glfwSetWindowShouldClose(window_, GLFW_FALSE);
    if (question_ == nullptr) AskToQuit();
}

// Plays the replay file's next line; false at its end. The lines:
//   key [ctrl+|shift+]NAME      NAME a letter, digit, delete, escape or kp1 .. kp6
//   drag [shift+]BUTTON x,y x,y ...   BUTTON left, middle or right: pressed at
//                               the first point, moved through the others, released
//   scroll x,y STEPS
//   turn FRAMES dx,dy           an orbit by dx, dy pixels, a frame per step
//   snapshot FILE.png           the window's pixels after this frame
bool Viewer::PlayNext()
{
    std::string line;
    while (std::getline(replay_, line) && (line.empty() || line[0] == '#')) {}
    if (!replay_ && line.empty()) return false;
    std::istringstream in(line);
    std::string verb, what;
    in >> verb >> what;
    int mods = 0;
    for (const auto& [prefix, mod] : {std::pair{"ctrl+", GLFW_MOD_CONTROL}, std::pair{"shift+", GLFW_MOD_SHIFT}})
        if (what.rfind(prefix, 0) == 0) {
            mods |= mod;
            what = what.substr(std::string(prefix).size());
        }
    const auto point = [](const std::string& text, double& x, double& y) {
        char comma = 0;
        std::istringstream numbers(text);
        return static_cast<bool>(numbers >> x >> comma >> y) && comma == ',';
    };
    double x = 0, y = 0;
    if (verb == "key") {
        int key = GLFW_KEY_UNKNOWN;
        if (what.size() == 1 && std::isalnum(static_cast<unsigned char>(what[0])))
            key = std::toupper(static_cast<unsigned char>(what[0]));  // GLFW's letter and digit keys are ASCII
        else if (what == "delete")
            key = GLFW_KEY_DELETE;
        else if (what == "escape")
            key = GLFW_KEY_ESCAPE;
        else if (what.size() == 3 && what.rfind("kp", 0) == 0)
            key = GLFW_KEY_KP_0 + (what[2] - '0');
        OnKey(key, mods);
    } else if (verb == "drag") {
        const int button = what == "middle"  ? GLFW_MOUSE_BUTTON_MIDDLE
                           : what == "right" ? GLFW_MOUSE_BUTTON_RIGHT
                                             : GLFW_MOUSE_BUTTON_LEFT;
        bool pressed = false;
        for (std::string at; in >> at && point(at, x, y);) {
            OnCursor(x, y);
            if (!pressed) OnButton(button, true, mods);
            pressed = true;
        }
        OnButton(button, false, mods);
    } else if (verb == "scroll") {
        double steps = 0;
        if (point(what, x, y) && in >> steps) {
            OnCursor(x, y);
            OnScroll(steps);
        }
    } else if (verb == "turn") {
        std::string by;
        in >> by;
        const int frames = std::atoi(what.c_str());
        if (point(by, x, y)) {
            OnCursor(width_ / 2.0, height_ / 2.0);
            OnButton(GLFW_MOUSE_BUTTON_LEFT, true, 0);
            for (int i = 0; i < frames; ++i) {
                OnCursor(cursorX_ + x, cursorY_ + y);
                DrawFrame();
            }
            OnButton(GLFW_MOUSE_BUTTON_LEFT, false, 0);
        }
    } else if (verb == "snapshot") {
        snapshot_ = what;
    } else {
        std::fprintf(stderr, "brell: %s: cannot play \"%s\"\n", settings_.replay.c_str(), line.c_str());
        exitStatus_ = 1;
        return false;
    }
    return true;
}

}  // namespace

int Run(const Settings& settings)
{
    Viewer viewer(settings);
    return viewer.Run();
}

}  // namespace brell::view
