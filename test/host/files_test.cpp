// Files as the host reads and writes them: whole, or not at all.

#include "host/files.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "test/host/failure.h"
#include "test/support/files.h"

namespace host {
namespace {

std::string FailureToWrite(const std::string& path, const std::string& bytes) {
  return FailureOf([&] { WriteWholeFile(path, bytes); });
}

// Files of this process can grow to so many bytes, as on a disk that is full; for as long as this lives.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) {
    getrlimit(RLIMIT_FSIZE, &before_);
    const struct rlimit limit = {bytes, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
    handler_before_ = signal(SIGXFSZ, SIG_IGN);
  }
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &before_);
    signal(SIGXFSZ, handler_before_);
  }

 private:
  struct rlimit before_ = {};
  void (*handler_before_)(int) = nullptr;
};

TEST(OtherThanAFile, NamesWhatIsNoRegularFile) {
  const TemporaryFolder folder;
  ASSERT_EQ(mkfifo(folder.PathOf("pipe").c_str(), 0600), 0);
  EXPECT_EQ(OtherThanAFile(folder.path()), "a folder");
  EXPECT_EQ(OtherThanAFile(folder.PathOf("pipe")), "a pipe");
  EXPECT_EQ(OtherThanAFile("/dev/null"), "a device");
}

TEST(OtherThanAFile, IsEmptyForRegularFilesAndForNothing) {
  const TemporaryFolder folder;
  EXPECT_EQ(OtherThanAFile(folder.Write("file", "")), "");
  std::filesystem::create_symlink("file", folder.PathOf("link"));
  EXPECT_EQ(OtherThanAFile(folder.PathOf("link")), "");
  EXPECT_EQ(OtherThanAFile(folder.PathOf("none")), "");
}

TEST(WriteWholeFile, FileHasTheBytesAndNothingElseIsLeft) {
  const TemporaryFolder folder;
  WriteWholeFile(folder.Write("file", "what was there before, and was longer"), std::string("new\0bytes", 9));
  EXPECT_EQ(ReadFile(folder.PathOf("file")), std::string("new\0bytes", 9));
  EXPECT_EQ(folder.Names(), (std::vector<std::string>{"file"}));
}

TEST(WriteWholeFile, FileThatDoesNotFitLeavesWhatWasThereBefore) {
  const TemporaryFolder folder;
  const std::string path = folder.Write("file", "before");
  std::string failure;
  {
    const FileSizeLimit limit(1000);
    failure = FailureToWrite(path, std::string(5000, 'x'));
  }
  EXPECT_EQ(failure, "cannot write " + path + ": File too large");
  EXPECT_EQ(ReadFile(path), "before");
  EXPECT_EQ(folder.Names(), (std::vector<std::string>{"file"}));
}

TEST(WriteWholeFile, FailureToTakeTheNameLeavesNothing) {
  const TemporaryFolder folder;
  std::filesystem::create_directory(folder.PathOf("taken"));
  EXPECT_EQ(FailureToWrite(folder.PathOf("taken"), "x"), "cannot write " + folder.PathOf("taken") + ": Is a directory");
  EXPECT_EQ(folder.Names(), (std::vector<std::string>{"taken"}));
  EXPECT_EQ(FailureToWrite(folder.PathOf("none/file"), "x"),
            "cannot write " + folder.PathOf("none/file") + ": No such file or directory");
}

}  // namespace
}  // namespace host
