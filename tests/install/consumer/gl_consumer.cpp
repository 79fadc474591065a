// Host code built against the installed reference renderer.
#include <brelldata/gl/Picture.h>
#include <brelldata/platform/DApi.h>

#include <cstdio>

int main()
{
    brell::gl::RegisterProcedures();
    const bool ok = GetDApiManager()->GetDApi("DrawProc", "DrawCGeoPolyShadeRefNodeByGL") != nullptr;
    brell::gl::UnregisterProcedures();
    std::puts(ok ? "gl consumer: ok" : "gl consumer: procedures missing");
    return ok ? 0 : 1;
}
