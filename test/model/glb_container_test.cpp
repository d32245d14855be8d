// From the path to the JSON text and the BIN data: opening and reading the file, its header, its two chunks.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "test/model/loading.h"
#include "test/model/open_hook.h"
#include "test/support/files.h"
#include "test/support/log_capture.h"
#include "test/support/read_fault.h"

using namespace glb_builder;
using namespace model_test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

Glb Good() { return Glb().Add(Triangle()); }

uint32_t JsonSize() { return static_cast<uint32_t>((Good().JsonText().size() + 3) / 4 * 4); }
uint32_t BinSize() { return static_cast<uint32_t>((Good().BinData().size() + 3) / 4 * 4); }

// Loads it with a log and without: the model is emptied, and nothing is said anywhere but in the log, after what that
// held before.
void ExpectFailure(const std::string& path, const std::string& message) {
  std::string log = "before\n";
  for (std::string* const used_log : {&log, static_cast<std::string*>(nullptr)}) {
    GLBModel model = PreviousModel();
    LogCapture out(stdout), err(stderr);
    EXPECT_FALSE(load_glb_model(path, model, used_log));
    EXPECT_EQ(out.Take() + err.Take(), "");
    EXPECT_THAT(model.meshes, IsEmpty());
  }
  EXPECT_EQ(log, "before\n" + message);
}

// ---- Files that are refused -------------------------------------------------------------------------------

struct BadFile {
  std::string name;
  Bytes file;
  const char* log;
};

std::vector<BadFile> BadFiles() {
  const char* const kHeader = "fail: header\n";
  const char* const kMagicOrVersion = "fail: magic/version\n";
  const char* const kNotJson = "fail: first chunk not JSON\n";
  const char* const kNotBin = "fail: second chunk not BIN\n";
  const char* const kSilent = "";
  const uint32_t json = JsonSize();
  const uint32_t bin = BinSize();
  const uint32_t kOtherType = 0x58585858;
  std::vector<BadFile> files = {
      {"empty", {}, kHeader},
      {"one byte", Good().TruncatedTo(1), kHeader},
      {"eleven bytes", Good().TruncatedTo(11), kHeader},
      {"eleven bytes of something else", Good().Magic(0).TruncatedTo(11), kHeader},

      {"magic in the other byte order", Good().Magic(0x676C5446), kMagicOrVersion},
      {"magic of another case", Good().Magic(0x46544C47), kMagicOrVersion},
      {"magic off by its last byte", Good().Magic(0x47546C67), kMagicOrVersion},
      {"version 0", Good().Version(0), kMagicOrVersion},
      {"version 1", Good().Version(1), kMagicOrVersion},
      {"version 3", Good().Version(3), kMagicOrVersion},
      {"version 2 in the other byte order", Good().Version(0x02000000), kMagicOrVersion},
      {"version 2 in its lower half alone", Good().Version(0x00010002), kMagicOrVersion},
      {"magic and version", Good().Magic(0).Version(1), kMagicOrVersion},
      {"twelve bytes of something else", Good().Magic(0).TruncatedTo(12), kMagicOrVersion},

      {"JSON one byte longer than the file", Good().WithoutBin().JsonLength(json + 1), kSilent},
      {"JSON one byte longer than the file, other type", Good().WithoutBin().JsonLength(json + 1).JsonType(kOtherType),
       kSilent},
      {"JSON length 2^32 - 1", Good().JsonLength(0xFFFFFFFF), kSilent},
      {"JSON length that wraps to the header", Good().JsonLength(0xFFFFFFEC), kSilent},
      {"JSON length that wraps to itself", Good().JsonLength(0xFFFFFFF0).JsonType(kOtherType), kSilent},
      {"JSON length 2^31", Good().JsonLength(0x80000000), kSilent},

      {"first chunk of another type", Good().JsonType(kOtherType), kNotJson},
      {"first chunk in lower case", Good().JsonType(0x6E6F736A), kNotJson},
      {"first chunk is BIN", Good().JsonType(0x004E4942), kNotJson},
      {"first chunk of another type, alone", Good().JsonType(kOtherType).WithoutBin(), kNotJson},
      {"first chunk of another type, BIN too long",
       Good().JsonType(kOtherType).BinLength(0xFFFFFFFF).BinType(kOtherType), kNotJson},

      {"no BIN", Good().WithoutBin(), kSilent},
      {"no BIN and no JSON text", Glb().Json("").WithoutBin(), kSilent},
      {"BIN length alone", Good().TruncatedTo(20 + json + 4), kSilent},
      {"seven bytes of BIN header", Good().TruncatedTo(20 + json + 7), kSilent},
      {"BIN one byte longer than the file", Good().BinLength(bin + 1), kSilent},
      {"BIN one byte longer than the file, other type", Good().BinLength(bin + 1).BinType(kOtherType), kSilent},
      {"BIN length 2^32 - 1", Good().BinLength(0xFFFFFFFF), kSilent},
      {"BIN length that wraps to the JSON", Good().BinLength(0xFFFFFFF8 - json), kSilent},
      {"BIN length 2^31", Good().BinLength(0x80000000), kSilent},

      {"second chunk of another type", Good().BinType(kOtherType), kNotBin},
      {"second chunk with a space for the zero", Good().BinType(0x204E4942), kNotBin},
      {"second chunk is JSON", Good().BinType(0x4E4F534A), kNotBin},
      {"second chunk of another type, empty", Good().Bin({}).BinType(kOtherType), kNotBin},
      {"BIN as the third chunk",
       Good().BinLength(4).BinType(kOtherType).Bin({0, 0, 0, 0, 4, 0, 0, 0, 'B', 'I', 'N', 0, 1, 2, 3, 4}), kNotBin},
  };
  for (size_t size = 12; size < 20; ++size) {
    files.push_back({"a good header cut to " + std::to_string(size), Good().TruncatedTo(size), kSilent});
  }
  return files;
}

TEST(GlbContainerTest, ABadFileFailsWithItsMessageOrSilently) {
  const TemporaryFolder folder;
  for (const BadFile& bad : BadFiles()) {
    SCOPED_TRACE(bad.name);
    ExpectFailure(folder.Write("bad.glb", bad.file), bad.log);
  }
}

TEST(GlbContainerTest, EveryPrefixOfAGoodFileFailsByItsHeaderOrSilently) {
  const Bytes file = Good().Unpadded().Build();
  const TemporaryFolder folder;
  for (size_t size = 0; size < file.size(); ++size) {
    SCOPED_TRACE(size);
    ExpectFailure(folder.Write("prefix.glb", Bytes(file.data(), file.data() + size)),
                  size < 12 ? "fail: header\n" : "");
  }
  EXPECT_EQ(Load(file).log, kTriangleLog);
}

// ---- Paths that cannot be read ----------------------------------------------------------------------------

class UnreadablePathTest : public ::testing::Test {
 protected:
  static void ExpectReadFailure(const std::string& path) { ExpectFailure(path, "fail: read file\n"); }

  std::string MakePipe(const char* name) {
    const std::string path = folder_.PathOf(name);
    EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
    return path;
  }

  std::string LinkTo(const std::string& target) {
    const std::string link = folder_.PathOf("link.glb");
    EXPECT_EQ(symlink(target.c_str(), link.c_str()), 0);
    return link;
  }

  TemporaryFolder folder_;
};

TEST_F(UnreadablePathTest, WhereThereIsNothing) {
  ExpectReadFailure(folder_.PathOf("missing.glb"));
  ExpectReadFailure(folder_.PathOf("missing/model.glb"));
  ExpectReadFailure(folder_.Write("model.glb", Good()) + "/model.glb");
  ExpectReadFailure(LinkTo("missing.glb"));
  ExpectReadFailure("");
}

TEST_F(UnreadablePathTest, AFolder) {
  folder_.Write("model.glb/model.glb", Good());
  ExpectReadFailure(folder_.PathOf("model.glb"));
  ExpectReadFailure(folder_.PathOf("model.glb/"));
  ExpectReadFailure("/");
  ExpectReadFailure(".");
  ExpectReadFailure(LinkTo(folder_.path()));
}

TEST_F(UnreadablePathTest, APipeThatNobodyWritesTo) {
  ExpectReadFailure(MakePipe("pipe.glb"));
  ExpectReadFailure(LinkTo("pipe.glb"));
}

TEST_F(UnreadablePathTest, APipeWithAWriter) {
  const std::string pipe = MakePipe("pipe.glb");
  const int writer = open(pipe.c_str(), O_RDWR);
  ASSERT_GE(writer, 0);
  ASSERT_EQ(write(writer, "glTF", 4), 4);
  ExpectReadFailure(pipe);
  int unread = 0;
  EXPECT_EQ(ioctl(writer, FIONREAD, &unread), 0);
  EXPECT_EQ(unread, 4);
  close(writer);
}

TEST_F(UnreadablePathTest, ADevice) {
  for (const char* device : {"/dev/null", "/dev/zero", "/dev/ptmx"}) {
    SCOPED_TRACE(device);
    ExpectReadFailure(device);
  }
}

TEST_F(UnreadablePathTest, ASocket) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  const std::string path = folder_.PathOf("socket.glb");
  ASSERT_LT(path.size(), sizeof address.sun_path);
  path.copy(address.sun_path, path.size());
  const int socket_end = socket(AF_UNIX, SOCK_STREAM, 0);
  ASSERT_EQ(bind(socket_end, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  ExpectReadFailure(path);
  close(socket_end);
}

TEST_F(UnreadablePathTest, WhatIsNoRegularFileIsNotEvenOpened) {
  const std::string pipe = MakePipe("pipe.glb");
  int opened = 0;
  const OpenHook hook([&] { ++opened; });
  ExpectReadFailure(pipe);
  ExpectReadFailure("/dev/null");
  EXPECT_EQ(opened, 0);
}

TEST_F(UnreadablePathTest, WhatTakesTheFilesPlaceAtTheLastMoment) {
  MakePipe("pipe");
  ASSERT_EQ(symlink("/dev/zero", folder_.PathOf("device").c_str()), 0);
  for (const char* other : {"pipe", "device"}) {
    SCOPED_TRACE(other);
    const std::string path = folder_.Write("model.glb", Good());
    int opened = 0;
    const OpenHook hook([&] {
      if (opened++ == 0) std::filesystem::rename(folder_.PathOf(other), path);
    });
    ExpectReadFailure(path);
    EXPECT_EQ(opened, 1);
    std::filesystem::remove(path);
  }
}

TEST_F(UnreadablePathTest, AFileWithoutPermission) {
  const std::string path = folder_.Write("model.glb", Good());
  ASSERT_EQ(chmod(path.c_str(), 0), 0);
  ASSERT_EQ(chmod(folder_.path().c_str(), 0755), 0);
  // Nothing is forbidden to root: the file is opened as nobody then.
  const bool is_root = geteuid() == 0;
  if (is_root && seteuid(65534) != 0) GTEST_SKIP() << "root, and unable to become anyone else";
  ExpectReadFailure(path);
  ASSERT_EQ(is_root ? seteuid(0) : 0, 0);
}

TEST_F(UnreadablePathTest, IsNotLookedForAnywhereElse) {
  folder_.Write("data/flutter_assets/model.glb", Good());
  folder_.Write("other.glb", Good());
  ExpectReadFailure(folder_.PathOf("model.glb"));
  ExpectReadFailure(folder_.PathOf("other"));
}

TEST_F(UnreadablePathTest, ThreeAttemptsWithOneLogCollectTheirMessages) {
  const std::string cut = folder_.Write("cut.glb", Good().TruncatedTo(3));
  const std::string good = folder_.Write("good.glb", Good());
  GLBModel model;
  std::string log;
  EXPECT_FALSE(load_glb_model(folder_.PathOf("missing.glb"), model, &log));
  EXPECT_FALSE(load_glb_model(cut, model, &log));
  EXPECT_TRUE(load_glb_model(good, model, &log));
  EXPECT_EQ(log, std::string("fail: read file\nfail: header\n") + kTriangleLog);
  EXPECT_EQ(model.meshes.size(), 1u);
}

// ---- Files that are read ----------------------------------------------------------------------------------

TEST(GlbContainerTest, WhatIsNotLookedAtMakesNoDifference) {
  const uint32_t json = JsonSize();
  const struct {
    const char* name;
    Glb glb;
  } kFiles[] = {
      {"as it should be", Good()},
      {"total length 0", Good().TotalLength(0)},
      {"total length too small", Good().TotalLength(20)},
      {"total length one too large", Good().TotalLength(20 + json + 8 + BinSize() + 1)},
      {"total length 2^32 - 1", Good().TotalLength(0xFFFFFFFF)},
      {"a byte after BIN", Good().Trailing({1})},
      {"what looks like a BIN header after BIN", Good().Trailing({0xFF, 0xFF, 0xFF, 0xFF, 'B', 'I', 'N', 0})},
      {"a third chunk that is too long", Good().Trailing({0xFF, 0xFF, 0xFF, 0xFF, 'X', 'X', 'X', 'X'})},
      {"BIN ends before the file", Good().BinLength(static_cast<uint32_t>(Good().BinData().size()))},
  };
  for (const auto& row : kFiles) {
    SCOPED_TRACE(row.name);
    const Loaded loaded = Load(row.glb);
    EXPECT_TRUE(loaded.ok);
    EXPECT_EQ(loaded.log, kTriangleLog);
    ASSERT_EQ(loaded.model.meshes.size(), 1u);
    EXPECT_EQ(loaded.model.meshes[0].positions, kTrianglePositions);
    EXPECT_THAT(loaded.model.meshes[0].indices, ElementsAre(0, 1, 2));
  }
}

TEST(GlbContainerTest, AFileLoadsTheSameWithoutALogAndSaysNothingAnywhere) {
  const TemporaryFolder folder;
  // With meshes that cannot be decoded, or only with a warning.
  const std::string path = folder.Write(
      "model.glb", Good()
                       .Add(Mesh(Floats(kTrianglePositions).Field("type", "\"VEC2\"")))
                       .Add(Mesh(Floats(kTrianglePositions)).Indices(Ushorts({0, 1, 2}).Field("componentType", "5121")))
                       .Add(Mesh(Floats(kTrianglePositions)).Indices(Ushorts({0, 1, 3}))));
  const Loaded logged = LoadPath(path);
  EXPECT_EQ(logged.log.substr(0, 15), "Found 4 meshes\n");
  GLBModel model;
  LogCapture out(stdout), err(stderr);
  EXPECT_EQ(load_glb_model(path, model, nullptr), logged.ok);
  EXPECT_EQ(out.Take() + err.Take(), "");
  ASSERT_EQ(model.meshes.size(), logged.model.meshes.size());
  for (size_t i = 0; i < model.meshes.size(); ++i) {
    EXPECT_EQ(model.meshes[i].positions, logged.model.meshes[i].positions);
    EXPECT_EQ(model.meshes[i].normals, logged.model.meshes[i].normals);
    EXPECT_EQ(model.meshes[i].indices, logged.model.meshes[i].indices);
    EXPECT_EQ(model.meshes[i].color, logged.model.meshes[i].color);
  }
}

TEST(GlbContainerTest, TheFilesNameDoesNotMatter) {
  const TemporaryFolder folder;
  for (const char* name : {"model", "model.bin", "MODEL.GLB", " ", "mod\xC3\xA8le.gltf", ".glb"}) {
    EXPECT_EQ(LoadPath(folder.Write(name, Good())).log, kTriangleLog) << name;
  }
}

TEST(GlbContainerTest, ALinkToAFileIsFollowed) {
  const TemporaryFolder folder;
  folder.Write("model.glb", Good());
  const std::string link = folder.PathOf("link.glb");
  ASSERT_EQ(symlink("model.glb", link.c_str()), 0);
  EXPECT_EQ(LoadPath(link).log, kTriangleLog);
}

TEST(GlbContainerTest, AFileWithoutAPathOfItsOwnIsReadThroughItsDescriptor) {
  const Bytes bytes = Good().Build();
  const int file = memfd_create("model.glb", 0);
  ASSERT_EQ(write(file, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  EXPECT_EQ(LoadPath("/proc/self/fd/" + std::to_string(file)).log, kTriangleLog);
  close(file);
}

TEST(GlbContainerTest, AFileThatTellsNoSizeIsEmpty) {
  const char* const path = "/proc/sys/kernel/ostype";
  struct stat status = {};
  ASSERT_EQ(fstatat(AT_FDCWD, path, &status, 0), 0);
  ASSERT_TRUE(S_ISREG(status.st_mode) && status.st_size == 0);
  const Loaded loaded = LoadPath(path);
  EXPECT_FALSE(loaded.ok);
  EXPECT_EQ(loaded.log, "fail: header\n");
}

TEST(GlbContainerTest, ARelativePathStartsAtTheWorkingFolder) {
  const TemporaryFolder folder;
  folder.Write("models/model.glb", Good());
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(folder.path());
  const Loaded loaded = LoadPath("models/model.glb");
  std::filesystem::current_path(before);
  EXPECT_EQ(loaded.log, kTriangleLog);
}

TEST(GlbContainerTest, BinBeginsRightAfterJsonOfAnyLength) {
  for (size_t spaces = 0; spaces < 8; ++spaces) {
    SCOPED_TRACE(spaces);
    const Loaded loaded = Load(Good().Unpadded().Json(Good().JsonText() + std::string(spaces, ' ')));
    EXPECT_EQ(loaded.log, kTriangleLog);
    ASSERT_EQ(loaded.model.meshes.size(), 1u);
    EXPECT_EQ(loaded.model.meshes[0].positions, kTrianglePositions);
  }
}

TEST(GlbContainerTest, BinAfterTheNextMultipleOfFourIsNotFound) {
  const std::string json = R"({"meshes":[]} )";
  ASSERT_EQ(json.size() % 4, 2u);
  const Loaded loaded = Load(Glb().Json(json).JsonLength(static_cast<uint32_t>(json.size())).Bin({1, 2, 3, 4}));
  EXPECT_FALSE(loaded.ok);
  EXPECT_EQ(loaded.log, "");
}

TEST(GlbContainerTest, AnEmptyJsonTextHasNoMeshes) {
  const Loaded loaded = Load(Glb().Json("").Bin({1, 2, 3, 4}));
  EXPECT_FALSE(loaded.ok);
  EXPECT_EQ(loaded.log, "Found 0 meshes\n");
}

TEST(GlbContainerTest, AnEmptyBinIsABin) {
  EXPECT_EQ(Load(Glb().Json(R"({"meshes":[]})").Bin({})).log, "Found 0 meshes\n");
}

TEST(GlbContainerTest, TheJsonTextGoesOnAfterZeroBytes) {
  std::string json = Good().JsonText();
  json.insert(1, std::string(3, '\0'));
  const Loaded loaded = Load(Good().Json(json));
  EXPECT_TRUE(loaded.ok);
  EXPECT_EQ(loaded.log, kTriangleLog);
}

TEST(GlbContainerTest, TheJsonTextEndsWithItsChunk) {
  // The only object of the array that opens in JSON is closed by the first byte of BIN's length.
  const Loaded loaded = Load(Glb().Unpadded().Json(R"({"meshes":[{)").Bin(Bytes('}', 0)));
  EXPECT_EQ(loaded.log, "Found 1 meshes\nFailed to load mesh 0: fail: mesh 0 not found\n\n");
}

// ---- Reads that stop short --------------------------------------------------------------------------------

TEST(GlbContainerTest, AReadThatStopsShortLeavesTheRestZero) {
  const Bytes file = Good().Build();
  const TemporaryFolder folder;
  const std::string path = folder.Write("model.glb", file);
  for (const ReadFault::Kind kind : {ReadFault::kEnd, ReadFault::kError}) {
    SCOPED_TRACE(kind);
    const ReadFault fault(file.size() - BinSize(), kind);
    const Loaded loaded = LoadPath(path);
    EXPECT_TRUE(fault.happened());
    EXPECT_TRUE(loaded.ok);
    EXPECT_EQ(loaded.log, kTriangleLog);
    ASSERT_EQ(loaded.model.meshes.size(), 1u);
    EXPECT_EQ(loaded.model.meshes[0].positions, std::vector<float>(9, 0.0f));
    EXPECT_EQ(loaded.model.meshes[0].indices, std::vector<uint32_t>(3, 0));
  }
}

TEST(GlbContainerTest, AReadThatFailsAtOnceIsAFileOfZeros) {
  const TemporaryFolder folder;
  const std::string path = folder.Write("model.glb", Good());
  const ReadFault fault(0, ReadFault::kError);
  const Loaded loaded = LoadPath(path);
  EXPECT_TRUE(fault.happened());
  EXPECT_FALSE(loaded.ok);
  EXPECT_EQ(loaded.log, "fail: magic/version\n");
}

TEST(GlbContainerTest, AFileThatGoesAwayOnceItIsOpenIsReadAllTheSame) {
  const TemporaryFolder folder;
  const std::string path = folder.Write("model.glb", Good());
  const StatFault fault;
  struct stat status = {};
  ASSERT_NE(stat(path.c_str(), &status), 0);
  EXPECT_EQ(LoadPath(path).log, kTriangleLog);
}

}  // namespace
