// Registrars: their plug-ins' lives, and one wrapper for each of the embedder's.

#include "flutter/plugin_registrar.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "embedder_test.h"
#include "message_bytes.h"

namespace client_wrapper_test {
namespace {

using namespace flutter;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Does something when it is destroyed.
class PassingPlugin : public Plugin {
 public:
  explicit PassingPlugin(std::function<void()> on_destruction) : on_destruction_(std::move(on_destruction)) {}
  ~PassingPlugin() override { on_destruction_(); }

 private:
  std::function<void()> on_destruction_;
};

std::unique_ptr<Plugin> PluginThat(std::function<void()> on_destruction) {
  return std::make_unique<PassingPlugin>(std::move(on_destruction));
}

// ---- PluginRegistrar ----------------------------------------------------------------------------

class PluginRegistrarTest : public EmbedderTest {};

TEST_F(PluginRegistrarTest, ConstructionFetchesMessengerAndTextureRegistrar) {
  const PluginRegistrar registrar(embedder_.registrar());
  EXPECT_THAT(embedder_.call_texts(), ElementsAre("PluginRegistrarGetMessenger()", "RegistrarGetTextureRegistrar()"));
}

TEST_F(PluginRegistrarTest, MessengerAndTexturesAreTheEmbedders) {
  const PluginRegistrar registrar(embedder_.registrar());
  embedder_.ClearCalls();
  registrar.messenger()->Send("up", nullptr, 0);
  TextureVariant texture{PixelBufferTexture([](size_t, size_t) { return nullptr; })};
  EXPECT_EQ(registrar.texture_registrar()->RegisterTexture(&texture), 1);
  EXPECT_THAT(embedder_.call_texts(),
              ElementsAre("MessengerSend(\"up\", null)", "TextureRegistrarRegisterExternalTexture(pixel buffer) = 1"));
}

TEST_F(PluginRegistrarTest, PluginsLiveUntilTheyAreCleared) {
  static_assert(std::has_virtual_destructor_v<Plugin>);
  PluginRegistrar registrar(embedder_.registrar());
  int destroyed = 0;
  registrar.AddPlugin(PluginThat([&] { ++destroyed; }));
  registrar.AddPlugin(PluginThat([&] { ++destroyed; }));
  EXPECT_EQ(destroyed, 0);
  registrar.ClearPlugins();
  EXPECT_EQ(destroyed, 2);
  registrar.ClearPlugins();
  EXPECT_EQ(destroyed, 2);
}

TEST_F(PluginRegistrarTest, PluginsMayUseMessengerAndTexturesUntilTheirEnd) {
  {
    PluginRegistrar registrar(embedder_.registrar());
    TextureVariant texture{PixelBufferTexture([](size_t, size_t) { return nullptr; })};
    const int64_t id = registrar.texture_registrar()->RegisterTexture(&texture);
    registrar.AddPlugin(PluginThat([&registrar, id] {
      registrar.messenger()->SetMessageHandler("down", nullptr);
      registrar.texture_registrar()->UnregisterTexture(id);
    }));
    embedder_.ClearCalls();
  }
  EXPECT_THAT(embedder_.call_texts(), ElementsAre("MessengerSetCallback(\"down\", null, null)",
                                                  "TextureRegistrarUnregisterExternalTexture(1, null, null)"));
}

// ---- PluginRegistrarManager ---------------------------------------------------------------------

class PluginRegistrarManagerTest : public EmbedderTest {
 protected:
  PluginRegistrarManager* const manager_ = PluginRegistrarManager::GetInstance();
};

TEST_F(PluginRegistrarManagerTest, IsTheSameObjectEachTime) {
  EXPECT_EQ(PluginRegistrarManager::GetInstance(), manager_);
}

TEST_F(PluginRegistrarManagerTest, FirstRequestMakesAWrapperAndSetsTheDestructionHandler) {
  EXPECT_NE(manager_->GetRegistrar(embedder_.registrar()), nullptr);
  EXPECT_THAT(embedder_.call_texts(), ElementsAre("PluginRegistrarGetMessenger()", "RegistrarGetTextureRegistrar()",
                                                  "PluginRegistrarSetDestructionHandler(callback)"));
}

TEST_F(PluginRegistrarManagerTest, LaterRequestsGiveTheSameWrapperAndSetTheDestructionHandlerAgain) {
  PluginRegistrar* const wrapper = manager_->GetRegistrar(embedder_.registrar());
  embedder_.ClearCalls();
  EXPECT_EQ(manager_->GetRegistrar(embedder_.registrar()), wrapper);
  // The wrapper that is made and dropped has fetched its two handles first.
  EXPECT_THAT(embedder_.call_texts(), ElementsAre("PluginRegistrarGetMessenger()", "RegistrarGetTextureRegistrar()",
                                                  "PluginRegistrarSetDestructionHandler(callback)"));
}

TEST_F(PluginRegistrarManagerTest, LaterRequestsLeavePluginsAndHandlersInPlace) {
  PluginRegistrar* const wrapper = manager_->GetRegistrar(embedder_.registrar());
  bool destroyed = false;
  wrapper->AddPlugin(PluginThat([&] { destroyed = true; }));
  wrapper->messenger()->SetMessageHandler("down",
                                          [](const uint8_t*, size_t, const BinaryReply& reply) { reply(nullptr, 0); });
  manager_->GetRegistrar(embedder_.registrar());
  EXPECT_FALSE(destroyed);
  EXPECT_TRUE(embedder_.Deliver("down", {}).answered());
  embedder_.DestroyRegistrar();
  EXPECT_TRUE(destroyed);
}

TEST_F(PluginRegistrarManagerTest, DestroyingTheRegistrarDestroysItsPluginsWhileTheMessengerWorks) {
  PluginRegistrar* const wrapper = manager_->GetRegistrar(embedder_.registrar());
  wrapper->AddPlugin(PluginThat([wrapper] { wrapper->messenger()->Send("at the end", nullptr, 0); }));
  embedder_.ClearCalls();
  embedder_.DestroyRegistrar();
  EXPECT_THAT(embedder_.call_texts(), ElementsAre("MessengerSend(\"at the end\", null)"));
}

TEST_F(PluginRegistrarManagerTest, RegistrarsOfTwoEmbeddersStayApart) {
  fakes::FakeEmbedder other;
  PluginRegistrar* const wrapper = manager_->GetRegistrar(embedder_.registrar());
  PluginRegistrar* const other_wrapper = manager_->GetRegistrar(other.registrar());
  EXPECT_NE(wrapper, other_wrapper);

  std::string destroyed;
  wrapper->AddPlugin(PluginThat([&] { destroyed += "one "; }));
  other_wrapper->AddPlugin(PluginThat([&] { destroyed += "other "; }));
  other.DestroyRegistrar();
  EXPECT_EQ(destroyed, "other ");
  EXPECT_EQ(manager_->GetRegistrar(embedder_.registrar()), wrapper);
  embedder_.DestroyRegistrar();
  EXPECT_EQ(destroyed, "other one ");
  EXPECT_THAT(other.complaints(), IsEmpty());
}

}  // namespace
}  // namespace client_wrapper_test
