#ifndef PLUGIN_SHADERS_H_
#define PLUGIN_SHADERS_H_

// The two built-in GLSL ES shaders: a flat colour per mesh, ambient light and one directional light that turns with
// the model, because normals are not transformed.
//
// Drivers get these texts byte for byte, comments included, and cache compiled shaders by them: so they stay as they were
// first shipped, with two comments that name constants which exist nowhere.

inline constexpr char kVertexShader[] = R"(
attribute vec3 a_position;
attribute vec3 a_normal;

uniform mat4 u_mvp;

varying vec3 v_normal;

void main() {
    gl_Position = u_mvp * vec4(a_position, 1.0);
    v_normal = a_normal;
}
)";

inline constexpr char kFragmentShader[] = R"(
precision mediump float;

varying vec3 v_normal;

uniform vec3 u_lightDir;
uniform vec3 u_objectColor;

void main() {
    // Simple diffuse lighting
    vec3 norm = normalize(v_normal);
    vec3 lightDir = normalize(u_lightDir);
    float diff = max(dot(norm, lightDir), 0.0);

    // Ambient + diffuse (using shared constants for consistency)
    float ambient = 0.6;  // OrbiskConstants::AMBIENT_STRENGTH
    float lighting = ambient + diff * 0.5;  // diff * OrbiskConstants::DIFFUSE_STRENGTH

    vec3 result = lighting * u_objectColor;
    gl_FragColor = vec4(result, 1.0);
}
)";

#endif  // PLUGIN_SHADERS_H_
