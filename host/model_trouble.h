#ifndef HOST_MODEL_TROUBLE_H_
#define HOST_MODEL_TROUBLE_H_

#include <string>
#include <string_view>

namespace host {

/// The file that the plug-in reads for the model `path`: that very one, or else the one with the
/// application's folder for assets before it or taken off; `path` itself where neither is there.
std::string ModelFile(const std::string& path);

/// Throws HostError where `path` names something that no model can be read from, as a folder or a pipe. What
/// a file holds is the plug-in's to judge.
void CheckModelFile(const std::string& path);

/// Why the plug-in could not load the model `path`, in plain words: what kind of file it seems to be, by
/// what is in it, or what the loader stumbled over, and what helps.
///
/// `loader_words`: the plug-in's message.
std::string ModelTrouble(const std::string& path, std::string_view loader_words);

}  // namespace host

#endif  // HOST_MODEL_TROUBLE_H_
