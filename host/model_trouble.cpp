#include "host/model_trouble.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "host/files.h"
#include "host/host_error.h"

namespace host {

namespace {

constexpr uint64_t kLargestModel = 0xFFFFFFFF;  // bytes: what the length in a .glb file can say

// The beginning of a file: enough to tell its kind, and to see what a model of some size says about itself.
struct Beginning {
  static constexpr size_t kMost = size_t{16} << 20;  // bytes

  std::string text;
  uint64_t file_size = 0;
  int error = 0;  // why it cannot be read

  bool StartsWith(std::string_view word, size_t offset = 0) const {
    return text.size() >= offset && text.compare(offset, word.size(), word) == 0;
  }
  bool Has(std::string_view word) const { return text.find(word) != std::string::npos; }
  // Little-endian; the bytes must be there.
  uint32_t Number(size_t offset) const {
    uint32_t number = 0;
    for (size_t i = 4; i-- > 0;) number = number << 8 | static_cast<uint8_t>(text[offset + i]);
    return number;
  }
  // Where the text begins, after a byte-order mark and blank space.
  bool TextStartsWith(std::string_view word) const {
    const size_t first = text.find_first_not_of(" \t\r\n", StartsWith("\xEF\xBB\xBF") ? 3 : 0);
    const auto same = [](char a, char b) { return std::tolower(static_cast<unsigned char>(a)) == b; };
    return first != std::string::npos && text.size() - first >= word.size() &&
           std::equal(word.begin(), word.end(), text.begin() + static_cast<std::ptrdiff_t>(first),
                      [&](char wanted, char found) { return same(found, wanted); });
  }
};

Beginning ReadBeginning(const std::string& path) {
  Beginning beginning;
  errno = 0;
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    beginning.error = errno;
    return beginning;
  }
  std::error_code ignored;
  beginning.file_size = std::filesystem::file_size(path, ignored);
  beginning.text.resize(std::min<uint64_t>(beginning.file_size, Beginning::kMost));
  file.read(beginning.text.data(), static_cast<std::streamsize>(beginning.text.size()));
  beginning.text.resize(static_cast<size_t>(file.gcount()));
  return beginning;
}

// ---- Files that are no binary glTF ------------------------------------------------------------------------

bool IsStl(const Beginning& file) {
  constexpr uint64_t kHeader = 84;  // of the binary kind, the number of triangles last
  constexpr uint64_t kTriangle = 50;
  return (file.TextStartsWith("solid") && file.Has("facet")) ||
         (file.text.size() >= kHeader && file.file_size == kHeader + kTriangle * file.Number(80));
}

// A line of the file begins with `word`.
bool HasLine(const Beginning& file, std::string_view word) {
  return file.StartsWith(word) || file.Has("\n" + std::string(word));
}

bool IsObj(const Beginning& file) { return HasLine(file, "mtllib ") || (HasLine(file, "v ") && HasLine(file, "f ")); }

constexpr char kExport[] = "open it in Blender, say, and export it as glTF 2.0 in the format \"glTF Binary (.glb)\"";
constexpr char kExportCad[] = "open it in FreeCAD, say, and export it as \"glTF 2.0\" with the ending .glb";
constexpr char kGetItAgain[] = "copy, download or export it again";
constexpr char kUnpack[] = "unpack it and give the .glb file in it";
constexpr char kNoModel[] = "give a .glb file";

struct Kind {
  const char* name;
  const char* help;
  const char* mark = "";                             // what such a file begins with
  bool (*matches)(const Beginning& file) = nullptr;  // what else it has to be like
};

// The first that matches. Those with a plain mark at their beginning come before those that take a guess.
constexpr Kind kKinds[] = {
    {"it is empty", kGetItAgain, "", [](const Beginning& file) { return file.file_size == 0; }},
    {"it is a pointer of git-lfs and not the file itself", "run: git lfs pull", "version https://git-lfs"},
    {"it is a USDZ file", kExport, "PK\3\4",
     [](const Beginning& file) { return file.text.substr(0, 512).find(".usd") != std::string::npos; }},
    {"it is a ZIP archive", kUnpack, "PK\3\4"},
    {"it is a gzip archive", kUnpack, "\x1F\x8B"},
    {"it is a 7z archive", kUnpack, "7z\xBC\xAF\x27\x1C"},
    {"it is a picture (PNG)", kNoModel, "\x89PNG"},
    {"it is a picture (JPEG)", kNoModel, "\xFF\xD8\xFF"},
    {"it is a picture (WebP)", kNoModel, "RIFF", [](const Beginning& file) { return file.StartsWith("WEBP", 8); }},
    {"it is a PDF document", kNoModel, "%PDF-"},
    {"it is an FBX file", kExport, "Kaydara FBX Binary"},
    {"it is an FBX file", kExport, "; FBX "},
    {"it is a Blender file", kExport, "BLENDER"},
    {"it is compressed (zstd), as Blender saves its files", kExport, "\x28\xB5\x2F\xFD"},
    {"it is a PLY file", kExport, "ply\n"},
    {"it is a PLY file", kExport, "ply\r"},
    {"it is a USD file", kExport, "#usda"},
    {"it is a USD file", kExport, "PXR-USDC"},
    {"it is a STEP file", kExportCad, "", [](const Beginning& file) { return file.TextStartsWith("iso-10303-21"); }},
    {"it is a web page, such as a server sends instead of a file",
     "download the file itself (from a page that shows code, the \"raw\" file)", "",
     [](const Beginning& file) { return file.TextStartsWith("<!doctype html") || file.TextStartsWith("<html"); }},
    {"it is a COLLADA file", kExport, "",
     [](const Beginning& file) { return file.TextStartsWith("<") && file.Has("<COLLADA"); }},
    {"it is an X3D file", kExport, "",
     [](const Beginning& file) { return file.TextStartsWith("<") && file.Has("<X3D"); }},
    {"it is a text .gltf file, of glTF 1", kExport, "",
     [](const Beginning& file) {
       return file.TextStartsWith("{") && file.Has("\"meshes\"") && file.Has("\"techniques\"");
     }},
    {"it is a text .gltf file, not the binary kind", kExport, "",
     [](const Beginning& file) {
       return file.TextStartsWith("{") && file.Has("\"asset\"") && file.Has("\"version\"");
     }},
    {"it is an STL file", kExport, "", IsStl},
    {"it is an OBJ file", kExport, "", IsObj},
};

bool Matches(const Kind& kind, const Beginning& file) {
  return file.StartsWith(kind.mark) && (kind.matches == nullptr || kind.matches(file));
}

// ---- Binary glTF ------------------------------------------------------------------------------------------

// What is wrong with the file as a container; empty where it is whole.
//
// "glTF" 4 | version 4 | length 4 | J 4 | "JSON" 4 | text J | B 4 | "BIN\0" 4 | data B
std::string ContainerTrouble(const Beginning& file) {
  if (file.text.size() >= 8 && file.Number(4) != 2) {
    return "it is binary glTF of version " + std::to_string(file.Number(4)) + ", not 2; " + kExport;
  }
  constexpr uint64_t kToJson = 20;
  if (file.text.size() < kToJson) return std::string("it ends within its header; ") + kGetItAgain;
  const uint64_t length = file.Number(8);
  const auto cut_short_of = [&](uint64_t end) {
    return "it is cut short: of " + std::to_string(std::max(end, length)) + " bytes " + std::to_string(file.file_size) +
           " are there; " + kGetItAgain;
  };
  const uint64_t json_end = kToJson + file.Number(12);
  if (json_end > file.file_size) return cut_short_of(json_end);
  if (json_end == file.file_size && length <= file.file_size) {
    return "it has no data of its own (no BIN chunk), only the description; export it with everything in one "
           ".glb file";
  }
  if (json_end + 8 > file.file_size) return cut_short_of(json_end + 8);
  if (json_end + 8 > file.text.size()) return "";  // beyond what has been read
  const uint64_t bin_end = json_end + 8 + file.Number(json_end);
  if (bin_end > file.file_size) return cut_short_of(bin_end);
  return "";
}

struct Words {
  const char* words;    // of the loader
  const char* meaning;  // with what helps
};

// Extensions that the loader does not know change what the data means. A file that names one is explained by
// it, whatever the loader stumbled over.
constexpr Words kExtensions[] = {
    {"KHR_draco_mesh_compression",
     "its meshes are compressed (Draco); export it again without compression (in Blender: Data, no mark at "
     "Compression)"},
    {"meshopt_compression",
     "its meshes are compressed (meshopt); write it again without compression (gltfpack: no -c)"},
    {"KHR_mesh_quantization",
     "its positions are quantised, no 32-bit floats; write it again without quantisation (gltfpack: -noq)"},
};

// The first of them that the loader said.
constexpr Words kLoaderWords[] = {
    {"first chunk not JSON",
     "its first part is not the JSON text; it is damaged, or no glTF tool wrote it: export it again"},
    {"second chunk not BIN",
     "after the JSON text comes something other than the data (BIN chunk); export it again without "
     "extensions"},
    {"Found 0 meshes",
     "there are no meshes in it; export it with the meshes, not only cameras, lights or an animation"},
    {"outside BIN",
     "it names data beyond its end; it is damaged, or its data is in other files: export it with everything "
     "in one .glb file"},
    {"names vertex",
     "its triangles name vertices that are not there; it is damaged or its exporter is: export it again"},
    {"pos type",
     "its positions are no 32-bit floats, or there are none; export it without quantisation or compression"},
    {"no POSITION", "its meshes have no positions; export it again, without compression"},
    {"no primitives in mesh", "its meshes are empty; export it with their triangles"},
    {"primitives array not found", "its meshes are empty; export it with their triangles"},
    {"primitive 0 not found", "its meshes are empty; export it with their triangles"},
    {"no attributes", "its meshes have no vertices; export it with their triangles"},
    {"stoi", "it has a whole number that cannot be read; it is damaged or its exporter is: export it again"},
    {"stof", "it has a number that cannot be read; it is damaged or its exporter is: export it again"},
    {"bad_alloc", "there is not enough memory for it; give a smaller one"},
    {"mesh 0: ;",
     "its meshes name data that the file does not describe; it is damaged or its exporter is: export it "
     "again"},
};

std::string BinaryGltfTrouble(const Beginning& file, std::string_view loader_words) {
  std::string trouble = ContainerTrouble(file);
  if (!trouble.empty()) return trouble;
  const std::string_view json = std::string_view(file.text).substr(20, file.Number(12));
  for (const Words& extension : kExtensions) {
    if (json.find(extension.words) != std::string_view::npos) return extension.meaning;
  }
  for (const Words& words : kLoaderWords) {
    if (loader_words.find(words.words) != std::string_view::npos) return words.meaning;
  }
  return std::string("the loader cannot make anything of it; ") + kExport;
}

// ---- Which file -------------------------------------------------------------------------------------------

bool Exists(const std::string& path) {
  std::error_code ignored;
  return std::filesystem::exists(path, ignored);
}

// The other path that the plug-in tries.
std::string OtherPath(const std::string& path) {
  const std::string assets = "data/flutter_assets/";
  return path.compare(0, assets.size(), assets) == 0 ? path.substr(assets.size()) : assets + path;
}

std::string FileTrouble(const std::string& path, const std::string& file_path, std::string_view loader_words) {
  if (!Exists(file_path)) return "there is no such file, nor " + OtherPath(path);
  const Beginning file = ReadBeginning(file_path);
  if (file.error != 0) return std::strerror(file.error);
  if (file.StartsWith("glTF")) return BinaryGltfTrouble(file, loader_words);
  for (const Kind& kind : kKinds) {
    if (Matches(kind, file)) return std::string(kind.name) + "; " + kind.help;
  }
  return std::string("it is no binary glTF file, nor of a kind that is known here; ") + kExport;
}

}  // namespace

std::string ModelFile(const std::string& path) {
  const std::string other = OtherPath(path);
  return Exists(path) || !Exists(other) ? path : other;
}

void CheckModelFile(const std::string& path) {
  const std::string file = ModelFile(path);
  const std::string other = OtherThanAFile(file);
  if (!other.empty()) throw HostError("cannot load the model " + file + ": it is " + other + ", and no file");
  std::error_code error;
  const uint64_t size = std::filesystem::file_size(file, error);
  if (!error && size > kLargestModel) {
    throw HostError("cannot load the model " + file + ": it has " + std::to_string(size) + " bytes, a .glb file has " +
                    std::to_string(kLargestModel) + " at most");
  }
}

std::string ModelTrouble(const std::string& path, std::string_view loader_words) {
  const std::string file_path = ModelFile(path);
  const std::string trouble = FileTrouble(path, file_path, loader_words);
  return file_path == path ? trouble : file_path + ": " + trouble;
}

}  // namespace host
