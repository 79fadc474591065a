#pragma once

namespace brell::gl {

// One program for everything: positions in world or window coordinates,
// optional normals (two-sided diffuse lighting in eye space), per-vertex
// colours (white when absent) and textures, all times the uniform colour.
inline constexpr const char* kVertexShader = R"(#version 330 core
layout(location = 0) in vec3 aPosition;
layout(location = 1) in vec3 aNormal;
layout(location = 2) in vec2 aTexCoord;
layout(location = 3) in vec4 aColor;
uniform mat4 uModelView;
uniform mat4 uProjection;
uniform float uPointSize;
out vec3 vPosition;
out vec3 vNormal;
out vec2 vTexCoord;
out vec4 vColor;
void main()
{
    vec4 position = uModelView * vec4(aPosition, 1.0);
    vPosition = position.xyz;
    vNormal = mat3(uModelView) * aNormal;
    vTexCoord = aTexCoord;
    vColor = aColor;
    gl_Position = uProjection * position;
    gl_PointSize = uPointSize;
}
)";

inline constexpr const char* kFragmentShader = R"(#version 330 core
const int kMaxLights = 8;
in vec3 vPosition;
in vec3 vNormal;
in vec2 vTexCoord;
in vec4 vColor;
uniform vec4 uColor;
uniform bool uLit;
uniform bool uTextured;
uniform sampler2D uTexture;
uniform mat4 uProjection;
uniform int uLightCount;
uniform vec4 uLightPosition[kMaxLights];
uniform vec3 uLightAmbient[kMaxLights];
uniform vec3 uLightDiffuse[kMaxLights];
out vec4 fragColor;
void main()
{
    vec4 base = (uTextured ? texture(uTexture, vTexCoord) * uColor : uColor) * vColor;
    if (!uLit) {
        fragColor = base;
        return;
    }
    bool perspective = uProjection[2][3] != 0.0;
    vec3 toEye = perspective ? -vPosition : vec3(0.0, 0.0, 1.0);
    vec3 n = length(vNormal) > 0.0 ? normalize(vNormal) : normalize(toEye);
    if (dot(n, toEye) < 0.0) n = -n;
    vec3 light = vec3(0.0);
    for (int i = 0; i < uLightCount; ++i) {
        vec3 l = uLightPosition[i].w == 0.0 ? uLightPosition[i].xyz : uLightPosition[i].xyz - vPosition;
        light += uLightAmbient[i] + uLightDiffuse[i] * max(dot(n, normalize(l)), 0.0);
    }
    fragColor = vec4(min(light, vec3(1.0)) * base.rgb, base.a);
}
)";

}  // namespace brell::gl
