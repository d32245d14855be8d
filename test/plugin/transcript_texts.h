#ifndef TEST_PLUGIN_TRANSCRIPT_TEXTS_H_
#define TEST_PLUGIN_TRANSCRIPT_TEXTS_H_

#include <string>
#include <utility>
#include <vector>

#include "test/support/glb_builder.h"

/// What the built library calls and says on the fake graphics libraries, piece by piece; whole transcripts are put
/// together from these. Lines of the standard streams begin with "out: " and "err: ".
///
/// A piece holds {name} where runs differ; With() fills such places in. The pieces know the two meshes of TwoMeshes().
namespace transcript {

using Values = std::vector<std::pair<std::string, std::string>>;

/// `text` with each {name} replaced by its value.
std::string With(std::string text, const Values& values);

/// The names of renderer number `renderer`, counting from 1, and of its GL objects, which go on counting from
/// renderer to renderer.
Values Names(int renderer, int width, int height);

enum class ViewerWas { kThere, kNotThere };

/// "createTexture" up to the compilation of the first shader, its outcome not yet asked for. `replaced`: what the
/// destruction of an earlier renderer calls.
std::string InitializeTranscript(int renderer, int width, int height, ViewerWas viewer,
                                 const std::string& replaced = "");
/// What follows, up to and including the release of the context.
std::string ShadersTranscript(int renderer, int width, int height);
/// The end of "createTexture": the texture's registration and the answer to message number `message`.
std::string RegisterTranscript(int id, int message);
/// A whole "createTexture".
std::string CreateTranscript(int renderer, int width, int height, ViewerWas viewer, int id, int message);

/// What stands in InitializeTranscript() for the default display's eglGetDisplay where there is none: {node} is the second
/// that is tried, and opens.
extern const std::string kDrmNodeDisplay;

/// The end of a renderer: {n} and the names of its GL objects.
extern const std::string kReleaseRenderer;

/// The first mesh without normals in its file, the second one with its own.
glb_builder::Glb TwoMeshes();

extern const std::string kLoad;         // {path} {message}
extern const std::string kStart;        // {id} {message}
extern const std::string kStartAgain;   // the same, of a thread that runs already
extern const std::string kThreadStart;  // {n}
/// A frame of the two meshes: {fbo} {program} {w} {h}, {readback}, {id}; {matrix} stands for the 16 numbers that
/// WithoutMatrices() takes out.
extern const std::string kFrame;
extern const std::string kReadback;    // {fbo} {w} {h}
extern const std::string kThreadStop;  // {count}
extern const std::string kStop;        // {message}
extern const std::string kDispose;     // {id} {message}, and those of kReleaseRenderer

/// `transcript` with {matrix} in place of each matrix: their numbers are known to a rounding only, and looked at apart.
std::string WithoutMatrices(std::string transcript);

int CountOf(const std::string& text, const std::string& wanted);

}  // namespace transcript

#endif  // TEST_PLUGIN_TRANSCRIPT_TEXTS_H_
