#include <brelldata/gl/Renderer.h>

#include <cstdio>
#include <utility>

namespace brell::gl {

namespace {

std::string Message(const std::string& step, const std::string& reason, RenderError::Source source, uint32_t code)
{
    std::string message = step + ": " + reason;
    if (source == RenderError::Source::none) return message;
    char number[16];
    std::snprintf(number, sizeof number, "0x%04X", static_cast<unsigned>(code));
    return message + (source == RenderError::Source::egl ? " (EGL error " : " (OpenGL error ") + number + ")";
}

}  // namespace

RenderError::RenderError(std::string step, std::string reason, Source source, uint32_t code)
    : std::runtime_error(Message(step, reason, source, code)),
      step_(std::move(step)),
      reason_(std::move(reason)),
      source_(source),
      code_(code)
{
}

RenderError RenderError::At(std::string step, std::string reason)
{
    return RenderError(std::move(step), std::move(reason), Source::none, 0);
}

RenderError RenderError::OfEgl(std::string call, std::string reason, uint32_t code)
{
    return RenderError(std::move(call), std::move(reason), Source::egl, code);
}

RenderError RenderError::OfGl(std::string call, std::string reason, uint32_t code)
{
    return RenderError(std::move(call), std::move(reason), Source::gl, code);
}

}  // namespace brell::gl
