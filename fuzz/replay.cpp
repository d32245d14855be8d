// A fuzz target without libFuzzer: gives it every file of the folders that are named, in the order of their names. The
// first folder must hold some; the others may be missing.

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz/fuzz_target.h"

namespace {

std::vector<std::filesystem::path> FilesIn(const std::filesystem::path& folder) {
  std::vector<std::filesystem::path> files;
  if (!std::filesystem::exists(folder)) return files;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  return files;
}

void Replay(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::vector<char> bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  bytes.shrink_to_fit();  // so that the address sanitizer sees a read past the end
  LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
}

}  // namespace

int main(int argc, char** argv) {
  std::FILE* const out = stdout;  // the target silences it
  for (int i = 1; i < argc; ++i) {
    const std::vector<std::filesystem::path> files = FilesIn(argv[i]);
    for (const std::filesystem::path& file : files) {
      std::fprintf(out, "%s\n", file.c_str());  // the last one is the culprit
      std::fflush(out);
      Replay(file);
    }
    if (i == 1 && files.empty()) {
      std::fprintf(out, "no files in %s\n", argv[i]);
      return 1;
    }
  }
  return argc > 1 ? 0 : 1;
}
