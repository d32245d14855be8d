#ifndef PLUGIN_MODEL_PATH_H_
#define PLUGIN_MODEL_PATH_H_

#include <array>
#include <string>

/// Where "loadModel" looks, one after the other: the path as given, and the same with the asset bundle's folder taken
/// off or put before it.
inline std::array<std::string, 2> ModelPathCandidates(const std::string& path) {
  const std::string bundle = "data/flutter_assets/";
  if (path.compare(0, bundle.size(), bundle) == 0) return {path, path.substr(bundle.size())};
  return {path, bundle + path};
}

#endif  // PLUGIN_MODEL_PATH_H_
