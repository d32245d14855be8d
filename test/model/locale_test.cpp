// An application that sets a locale with a decimal comma gets the same models and the same log lines.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <locale>
#include <sstream>
#include <string>
#include <vector>

#include "test/model/loading.h"
#include "test/support/files.h"

extern char** environ;  // NOLINT: as POSIX has it

using namespace glb_builder;
using namespace model_test;
using ::testing::ElementsAre;

namespace {

// Makes a locale "comma" in the folder, of nothing but its numbers: quick, and a whole country is not needed.
void MakeCommaLocale(const TemporaryFolder& folder) {
  const std::string text = "LC_NUMERIC\ndecimal_point \",\"\nthousands_sep \".\"\ngrouping 3;3\nEND LC_NUMERIC\n";
  const std::string source = folder.Write("comma.source", Bytes(text.begin(), text.end()));
  const std::string target = folder.PathOf("comma");
  // Forced and quiet: the categories that are missing are objected to and made all the same.
  const char* const arguments[] = {"localedef", "--no-archive", "--force",      "--quiet",
                                   "-i",        source.c_str(), target.c_str(), nullptr};
  pid_t process;
  if (posix_spawnp(&process, arguments[0], nullptr, nullptr, const_cast<char* const*>(arguments), environ) == 0) {
    waitpid(process, nullptr, 0);
  }
}

// More than 999 vertices: a locale may also group digits.
Glb Model() {
  return Glb()
      .Add(Mesh(Floats(std::vector<float>(3 * 1234, 1.0f))).Color("0.25, 0.5, 12345.75, 0.125"))
      .Add(Triangle());
}

void ExpectModelOfAnyLocale() {
  const Loaded loaded = Load(Model());
  EXPECT_EQ(loaded.log,
            "Found 2 meshes\n" + MeshLine(0, 1234, 0, "0.250000,0.500000,12345.750000") + MeshLine(1, 3, 3));
  ASSERT_EQ(loaded.model.meshes.size(), 2u);
  EXPECT_THAT(loaded.model.meshes[0].color, ElementsAre(0.25f, 0.5f, 12345.75f, 0.125f));
}

// The C++ library's part, which needs nothing installed.
class CommaAndGroups : public std::numpunct<char> {
 protected:
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

class LocaleTest : public ::testing::Test {
 protected:
  ~LocaleTest() override {
    std::locale::global(std::locale::classic());
    std::setlocale(LC_ALL, "C");
    unsetenv("LOCPATH");
  }

  // False where no such locale can be made.
  bool UseCommaInTheCLibrary() {
    MakeCommaLocale(folder_);
    setenv("LOCPATH", folder_.path().c_str(), 1);
    if (std::setlocale(LC_ALL, "comma") == nullptr) return false;
    char text[16];
    std::snprintf(text, sizeof text, "%.1f", 0.5);
    EXPECT_STREQ(text, "0,5");
    return true;
  }

  void UseCommaInTheStreams() {
    std::locale::global(std::locale(std::locale::classic(), new CommaAndGroups));
    std::ostringstream text;
    text << 1234.5;
    EXPECT_EQ(text.str(), "1.234,5");
  }

  TemporaryFolder folder_;
};

TEST_F(LocaleTest, TheModelWithoutALocale) { ExpectModelOfAnyLocale(); }

TEST_F(LocaleTest, ADecimalCommaOfTheCLibraryChangesNothing) {
  if (!UseCommaInTheCLibrary()) GTEST_SKIP() << "no locale with a decimal comma: localedef cannot make one";
  ExpectModelOfAnyLocale();
}

TEST_F(LocaleTest, ADecimalCommaOfTheStreamsChangesNothing) {
  UseCommaInTheStreams();
  ExpectModelOfAnyLocale();
}

TEST_F(LocaleTest, ADecimalCommaOfBothChangesNothing) {
  if (!UseCommaInTheCLibrary()) GTEST_SKIP() << "no locale with a decimal comma: localedef cannot make one";
  UseCommaInTheStreams();
  ExpectModelOfAnyLocale();
}

}  // namespace
