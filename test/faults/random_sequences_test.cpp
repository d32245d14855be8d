// Thousands of random command sequences, with a raster thread that fetches frames all the while: whatever comes, every
// command is answered once or throws what it is documented to throw, nothing reads or writes where it must not,
// nothing hangs, and the plug-in still draws afterwards.
//
// The sequences are the same on every run. To play others, or one again:
//   ORBISK_SEQUENCE_SEED=<first seed> ORBISK_SEQUENCE_COUNT=<how many> ./random_sequences_..._test
// A test run plays as many as it has time for; scripts/sequences.sh plays ten thousand under the sanitizers.
// Sequence number n of a run has the seed <first seed> + n; a failure tells it.

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <new>
#include <optional>
#include <stdexcept>
#include <variant>

#include "plugin/orbisk_state.h"
#include "test/faults/graphics.h"
#include "test/faults/random_command.h"
#include "test/faults/raster_thread.h"
#include "test/faults/short_sleeps.h"
#include "test/faults/watchdog.h"
#include "test/support/source_fixture.h"

using namespace std::chrono_literals;

namespace {

constexpr int kParts = 4;  // tests of their own to CTest, which can run them side by side
constexpr uint64_t kDefaultSeed = 20'240'607;

uint64_t FromEnvironment(const char* name, uint64_t otherwise) {
  const char* const value = std::getenv(name);
  return value == nullptr ? otherwise : std::strtoull(value, nullptr, 10);
}

struct Totals {
  long commands = 0;
  long frames_fetched = 0;
  long frames_announced = 0;
  long exceptions = 0;
  long plugins = 0;
};

// The engine for the life of one plug-in: an embedder and its raster thread.
class Engine {
 public:
  explicit Engine(Totals& totals) : totals_(totals) {
    OrbiskPluginRegisterWithRegistrar(embedder.registrar());
    // An engine fetches to the last; after the half second the plug-in takes viewer and descriptor away.
    short_sleeps::SetHalfSecondHook([this] { raster_thread.Stop(); });
    ++totals_.plugins;
  }
  ~Engine() {
    embedder.DestroyRegistrar();
    raster_thread.Stop();
    short_sleeps::SetHalfSecondHook(nullptr);
    totals_.frames_fetched += raster_thread.frames();
    for (const int64_t id : embedder.texture_ids()) totals_.frames_announced += embedder.texture(id).marks;
    EXPECT_THAT(embedder.complaints(), ::testing::IsEmpty());
  }

  fakes::FakeEmbedder embedder;
  RasterThread raster_thread{embedder};

 private:
  Totals& totals_;
};

// What a message came to: its answer, or the exception it threw.
std::string OutcomeOf(fakes::FakeEmbedder& embedder, const fakes::Bytes& message) {
  try {
    return AnswerText::Of(embedder.Deliver("orbisk", message));
  } catch (const std::bad_variant_access&) {
    return "throws std::bad_variant_access";
  } catch (const std::invalid_argument&) {
    return "throws std::invalid_argument";
  } catch (const std::out_of_range&) {
    return "throws std::out_of_range";
  }
}

fakes::Bytes Encode(const RandomCommand& command) {
  const flutter::MethodCall<EncodableValue> call(command.name, std::make_unique<EncodableValue>(command.arguments));
  return *flutter::StandardMethodCodec::GetInstance().EncodeMethodCall(call);
}

// Plays one sequence on a plug-in of its own.
class Player {
 public:
  Player(const ModelFiles& files, Watchdog& watchdog, Totals& totals)
      : files_(files), watchdog_(watchdog), totals_(totals) {
    engine_.emplace(totals_);
  }
  ~Player() {
    watchdog_.Step("the plug-in is destroyed");
    engine_.reset();
  }

  void PlaySequence(Random& random) {
    if (!random.OneIn(3)) BeginWithFrames();
    const size_t length = 1 + random.Below(10);
    for (size_t i = 0; i < length && !::testing::Test::HasFailure(); ++i) PlayOne(random);
    ExpectTheLockToBeFree();
  }

  // A viewer from nothing, one frame, which must have a picture on it.
  void PlayPlainRun() {
    constexpr int kWidth = 32;
    constexpr int kHeight = 24;
    watchdog_.Step("plain run");
    DisposeQuietly();
    graphics::FillFrames(kWidth, kHeight);
    fakes::FakeEmbedder& embedder = engine_->embedder;
    const std::string id_text = "success " + std::to_string(embedder.texture_ids().size() + 1);
    for (const auto& [name, value] : {std::pair("setQuaternion", QuaternionArguments(0, 0, 0, 1)),
                                      std::pair("setBaseRotation", AngleArguments(0, 0, 0)),
                                      std::pair("setCameraDistance", Map({{"distance", 3.5}})),
                                      std::pair("setModelScale", Map({{"scale", 1.2}}))}) {
      Send({name, value, "", {}});
    }
    ASSERT_EQ(Send({"createTexture", Size(kWidth, kHeight), "", {}}), id_text);
    ASSERT_EQ(Send({"loadModel", Map({{"modelPath", files_.good_path()}}), "", {}}), "success true");
    const int64_t id = embedder.texture_ids().back();
    const FlutterDesktopPixelBuffer* const frame = embedder.FetchFrame(id, 0, 0);
    ASSERT_NE(frame, nullptr);
    ASSERT_EQ(Send({"startRendering", EncodableValue(), "", {}}), "success true");
    ASSERT_TRUE(embedder.WaitForMarks(id, 2));
    ASSERT_EQ(Send({"stopRendering", EncodableValue(), "", {}}), "success true");
    ASSERT_EQ(frame->width * frame->height, size_t{kWidth * kHeight});
    EXPECT_TRUE(
        std::any_of(frame->buffer, frame->buffer + kWidth * kHeight * 4, [](uint8_t byte) { return byte != 0; }));
  }

 private:
  // What an application begins with, so that most of what follows meets a render thread at work.
  void BeginWithFrames() {
    watchdog_.Step("createTexture(48 x 40), loadModel(good.glb), startRendering()");
    EXPECT_EQ(Send({"createTexture", Size(48, 40), "", {}}), "success 1");
    EXPECT_EQ(Send({"loadModel", Map({{"modelPath", files_.good_path()}}), "", {}}), "success true");
    EXPECT_EQ(Send({"startRendering", EncodableValue(), "", {}}), "success true");
    viewer_.exists = true;
    viewer_.has_model = true;
  }

  void PlayOne(Random& random) {
    if (random.OneIn(24)) return DestroyAndRegisterAgain();
    if (random.OneIn(40)) return RegisterTwice();
    if (random.OneIn(40)) return SendGarbage(random);
    if (random.OneIn(12)) {
      for (size_t i = 0; i < 40; ++i) Play(NextNumbersCommand(random));
      return;
    }
    if (random.OneIn(6)) LetFramesBeDrawn();
    Play(NextCommand(random, files_));
  }

  void Play(const RandomCommand& command) {
    watchdog_.Step(command.text);
    viewer_.textures = static_cast<int>(engine_->embedder.texture_ids().size());
    const std::vector<std::string> expected = command.outcomes(viewer_);
    LogCapture errors(stderr);
    std::string outcome;
    if (command.name == "dispose") {
      engine_->raster_thread.RunWhileNothingIsCopied([&] { outcome = Send(command); });
    } else {
      outcome = Send(command);
    }
    EXPECT_TRUE(
        std::any_of(expected.begin(), expected.end(), [&](const std::string& right) { return IsIt(outcome, right); }))
        << outcome << " is not " << ::testing::PrintToString(expected);
    const bool warned = errors.Take().find("Warning: Failed to respond to a message.") != std::string::npos;
    const bool thrown = outcome.rfind("throws ", 0) == 0;
    EXPECT_EQ(warned, thrown) << outcome;
    EXPECT_EQ(engine_->embedder.last_reply().answered(), !thrown);
    if (thrown) ++totals_.exceptions;
  }

  // Errors of the loader go on with its log.
  static bool IsIt(const std::string& outcome, const std::string& right) {
    return right.back() == ' ' ? outcome.rfind(right, 0) == 0 : outcome == right;
  }

  std::string Send(const RandomCommand& command) {
    ++totals_.commands;
    return OutcomeOf(engine_->embedder, Encode(command));
  }

  void DisposeQuietly() {
    engine_->raster_thread.RunWhileNothingIsCopied([&] {
      EXPECT_EQ(Send({"dispose", EncodableValue(), "", {}}), "success true");
    });
  }

  void DestroyAndRegisterAgain() {
    watchdog_.Step("the plug-in is destroyed and registered again");
    engine_.reset();
    engine_.emplace(totals_);
    viewer_ = ViewerPicture();
  }

  // Nothing guards against it: two plug-ins share the one viewer.
  void RegisterTwice() {
    watchdog_.Step("the plug-in is registered once more");
    OrbiskPluginRegisterWithRegistrar(engine_->embedder.registrar());
    ++totals_.plugins;
  }

  // Bytes that are no method call; those of a call that is cut off are.
  void SendGarbage(Random& random) {
    watchdog_.Step("garbage");
    fakes::Bytes message(random.Below(20));
    for (uint8_t& byte : message) byte = static_cast<uint8_t>(random.Below(256));
    if (!message.empty()) message[0] = 3;  // an int32 in the name's place
    ++totals_.commands;
    EXPECT_EQ(OutcomeOf(engine_->embedder, message), "not implemented");
  }

  void LetFramesBeDrawn() {
    watchdog_.Step("a pause");
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }

  static void ExpectTheLockToBeFree() {
    // The render thread has it now and then, and lets waiters in: a lock that a command has left behind is never free.
    if (OrbiskState* const state = g_viewer_state.get()) const StateLock lock(*state);
  }

  const ModelFiles& files_;
  Watchdog& watchdog_;
  Totals& totals_;
  ViewerPicture viewer_;
  std::optional<Engine> engine_;
};

class RandomSequencesTest : public ::testing::TestWithParam<int> {};

TEST_P(RandomSequencesTest, EveryCommandComesToWhatItMustAndTheViewerStaysUsable) {
  const uint64_t first_seed = FromEnvironment("ORBISK_SEQUENCE_SEED", kDefaultSeed);
  const uint64_t count =
      FromEnvironment("ORBISK_SEQUENCE_COUNT", static_cast<uint64_t>(graphics::DefaultSequenceCount()));
  const ModelFiles files;
  Watchdog watchdog(4min);
  Totals totals;
  long sequences = 0;
  const auto start = std::chrono::steady_clock::now();
  for (auto number = static_cast<uint64_t>(GetParam()); number < count && !HasFailure(); number += kParts) {
    const uint64_t seed = first_seed + number;
    watchdog.BeginStory("Sequence with seed " + std::to_string(seed) + ":");
    graphics::Reset();
    Random random(seed);
    const LogCapture out(stdout);
    const LogCapture err(stderr);
    {
      Player player(files, watchdog, totals);
      player.PlaySequence(random);
      const bool is_last = number + kParts >= count;
      if (is_last || sequences % graphics::SequencesPerPlainRun() == 0) player.PlayPlainRun();
    }
    EXPECT_EQ(g_viewer_state.get(), nullptr);
    ++sequences;
  }
  ASSERT_FALSE(HasFailure()) << watchdog.Story();
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
  std::cout << "Seeds from " << first_seed << ": " << sequences << " sequences, " << totals.commands << " commands ("
            << totals.exceptions << " exceptions), " << totals.plugins << " plug-ins, " << totals.frames_announced
            << " frames announced, " << totals.frames_fetched << " fetched, " << elapsed.count() << " s\n";
}

INSTANTIATE_TEST_SUITE_P(Part, RandomSequencesTest, ::testing::Range(0, kParts), [](const auto& part) {
  return std::to_string(part.param + 1) + "Of" + std::to_string(kParts);
});

}  // namespace
