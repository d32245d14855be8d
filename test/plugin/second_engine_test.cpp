// Two engines in one process, each with a registrar of its own: the plug-in is registered with both, and one of them
// closes.

#include "plugin/registrations.h"
#include "test/support/source_fixture.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class SecondEngineTest : public PluginTest {
 protected:
  SecondEngineTest() { OrbiskPluginRegisterWithRegistrar(second_.registrar()); }
  ~SecondEngineTest() override {
    second_.DestroyRegistrar();
    EXPECT_THAT(second_.complaints(), IsEmpty());
  }

  // As Call, given by the second engine's application.
  std::string CallSecond(const std::string& method, EncodableValue arguments = EncodableValue()) {
    return AnswerText::Of(second_.Deliver("orbisk", Encode(method, std::move(arguments))));
  }

  fakes::FakeEmbedder second_{100};
};

TEST_F(SecondEngineTest, WhileItIsThereTexturesAreRegisteredWithIt) {
  EXPECT_EQ(Call("createTexture", Size(64, 48)), "success 100");
  EXPECT_THAT(embedder_.texture_ids(), IsEmpty());
}

TEST_F(SecondEngineTest, OnceItHasClosedTheFirstOneShowsFramesAgain) {
  second_.DestroyRegistrar();
  const int64_t id = CreateViewer();
  ASSERT_EQ(id, 7);
  EXPECT_NE(Fetch(id), nullptr);
  EXPECT_EQ(Call("startRendering"), "success true");
  EXPECT_TRUE(WaitForFrames(id, 2));
  EXPECT_EQ(Call("dispose"), "success true");
  EXPECT_FALSE(embedder_.texture(id).registered);
}

TEST_F(SecondEngineTest, ItGoesOnWhenTheFirstOneCloses) {
  flutter::PluginRegistrar* const registrar = g_registrar;
  DestroyPlugin();
  EXPECT_EQ(g_registrar, registrar);
  EXPECT_EQ(CallSecond("createTexture", Size(64, 48)), "success 100");
}

TEST_F(SecondEngineTest, AMiddleOneThatClosesChangesNothing) {
  fakes::FakeEmbedder third(200);
  OrbiskPluginRegisterWithRegistrar(third.registrar());
  flutter::PluginRegistrar* const registrar = g_registrar;
  second_.DestroyRegistrar();
  EXPECT_EQ(g_registrar, registrar);
  third.DestroyRegistrar();
  EXPECT_EQ(CreateTexture(), 7);
  EXPECT_THAT(third.complaints(), IsEmpty());
}

TEST_F(SecondEngineTest, WhenOneClosesTheOthersTextureGivesNothingUntilItCreatesOneAgain) {
  ASSERT_EQ(CallSecond("createTexture", Size(64, 48)), "success 100");
  ASSERT_NE(second_.FetchFrame(100, 0, 0), nullptr);
  DestroyPlugin();
  EXPECT_EQ(State(), nullptr);
  EXPECT_EQ(second_.FetchFrame(100, 0, 0), nullptr);
  EXPECT_EQ(CallSecond("createTexture", Size(64, 48)), "success 101");
  EXPECT_NE(second_.FetchFrame(101, 0, 0), nullptr);
}

TEST_F(PluginTest, WithOneEngineTheRegistrarIsNamedToTheEnd) {
  flutter::PluginRegistrar* const registrar = g_registrar;
  DestroyPlugin();
  EXPECT_EQ(g_registrar, registrar);
}

}  // namespace
