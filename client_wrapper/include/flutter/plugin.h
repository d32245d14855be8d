#ifndef CLIENT_WRAPPER_INCLUDE_FLUTTER_PLUGIN_H_
#define CLIENT_WRAPPER_INCLUDE_FLUTTER_PLUGIN_H_

namespace flutter {

/// What a registrar owns on behalf of a plug-in: destroyed with the registrar.
class Plugin {
 public:
  virtual ~Plugin() = default;
};

}  // namespace flutter

#endif  // CLIENT_WRAPPER_INCLUDE_FLUTTER_PLUGIN_H_
