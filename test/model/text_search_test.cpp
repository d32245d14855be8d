// What looks at texts by the block against plain loops that look at every character: on random texts of all lengths,
// so that the borders of blocks fall everywhere. Texts lie in memory of exactly their size, for the address sanitizer.

#include <gtest/gtest.h>

#include <memory>
#include <random>

#include "model/json_scanning.h"
#include "model/text_search.h"

namespace json_scanning {
namespace {

constexpr size_t kLongestText = 400;

// As scan_array, a character at a time.
ArrayScan ScanByCharacters(std::string_view text, size_t bracket, int index) {
  ArrayScan scan;
  long depth = 0;
  size_t start = npos;
  for (size_t i = bracket + 1; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '{') {
      if (depth == 0) {
        if (index >= 0 && scan.object_count == static_cast<size_t>(index)) start = i;
        ++scan.object_count;
      }
      ++depth;
    } else if (c == '}') {
      --depth;
      if (depth == 0 && start != npos) {
        scan.object = text.substr(start, i + 1 - start);
        return scan;
      }
    } else if (c == ']' && depth == 0) {
      return scan;
    }
  }
  return scan;
}

// Random texts of pieces.
class TextGenerator {
 public:
  explicit TextGenerator(std::vector<std::string> pieces) : pieces_(std::move(pieces)) {}

  std::string_view Next() {
    std::string text;
    const size_t size = engine_() % (kLongestText + 1);
    while (text.size() < size) text += pieces_[engine_() % pieces_.size()];
    text.resize(size);
    text_.reset(new char[size]);
    std::copy(text.begin(), text.end(), text_.get());
    return {text_.get(), size};
  }

 private:
  std::vector<std::string> pieces_;
  std::mt19937 engine_{1};
  std::unique_ptr<char[]> text_;
};

// From one piece in two of meaning to one in many.
std::vector<std::vector<std::string>> WithMoreAndMoreBetween(const std::vector<std::string>& pieces) {
  std::vector<std::vector<std::string>> sets;
  for (const size_t times : {1u, 5u, 25u}) {
    std::vector<std::string> set = pieces;
    for (size_t i = 0; i < times * pieces.size(); ++i) set.push_back(std::string(1, "a0zy:, \"_Z"[i % 10]));
    sets.push_back(set);
  }
  return sets;
}

// The braces' neighbours, what only looks like them, and bytes outside of ASCII, which carry, belong to the rest.
const std::vector<std::string> kStructure = {
    "{",
    "}",
    "{",
    "}",
    "[",
    "]",
    "},{",
    "}]",
    "|",
    "~",
    "z",
    "\x7f",
    "\x80",
    "\xfa",
    "\xfb",
    "\xff",
    std::string(1, '\0'),
};

TEST(TextSearchTest, ArraysAreScannedAsByCharacters) {
  size_t found = 0, counted = 0;
  for (const std::vector<std::string>& pieces : WithMoreAndMoreBetween(kStructure)) {
    TextGenerator texts(pieces);
    for (int i = 0; i < 3000; ++i) {
      const std::string_view text = texts.Next();
      for (const size_t bracket : {size_t{0}, text.size() / 3}) {
        const auto objects = static_cast<int>(ScanByCharacters(text, bracket, -1).object_count);
        for (int index = -1; index <= objects; ++index) {
          const ArrayScan expected = ScanByCharacters(text, bracket, index);
          const ArrayScan scan = scan_array(text, bracket, index);
          ASSERT_EQ(scan.object_count, expected.object_count) << text << " from " << bracket << ", " << index;
          ASSERT_EQ(scan.object.size(), expected.object.size()) << text << " from " << bracket << ", " << index;
          ASSERT_EQ(scan.object.data(), expected.object.data()) << text << " from " << bracket << ", " << index;
          found += !scan.object.empty();
          counted += scan.object_count;
        }
      }
    }
  }
  EXPECT_GT(found, 5000u);
  EXPECT_GT(counted, found);
}

TEST(TextSearchTest, ObjectsLongerThanBlocksEndAtTheirBrace) {
  const std::string filling(150, 'x');
  for (size_t before = 0; before < 70; ++before) {
    for (size_t inside = 0; inside < 150; ++inside) {
      const std::string object = "{" + filling.substr(0, inside) + "}";
      const std::string text = "[" + filling.substr(0, before) + "{" + object + "}," + object + "]" + object;
      ASSERT_EQ(scan_array(text, 0, 0).object, "{" + object + "}") << text;
      ASSERT_EQ(scan_array(text, 0, 1).object, object) << text;
      ASSERT_EQ(scan_array(text, 0, 2).object, "") << text;
      ASSERT_EQ(scan_array(text, 0, -1).object_count, 2u) << text;
    }
  }
}

TEST(TextSearchTest, QuotedWordsAreFoundAsByTheStandardLibrary) {
  std::vector<std::string> words = {"", "a", "ab", "meshes", "bufferViews"};
  for (const size_t length : {63u, 64u, 65u, 66u, 127u, 128u, 200u}) words.push_back(std::string(length, 'm'));
  std::vector<std::string> pieces;
  for (const std::string& word : words) pieces.push_back('"' + word + '"');
  for (const char* almost : {"\"mesh\"", "meshes", "\"mishes\"", "\"bufferView", "b123456789s", "\"", "a", "b", "mm"}) {
    pieces.push_back(almost);
  }
  size_t found = 0, absent = 0;
  for (const std::vector<std::string>& set : WithMoreAndMoreBetween(pieces)) {
    TextGenerator texts(set);
    for (int i = 0; i < 1000; ++i) {
      const std::string_view text = texts.Next();
      for (const std::string& word : words) {
        for (size_t start = 0; start <= text.size() + 1; start += 1 + start / 8) {
          const size_t position = text_search::find_quoted(text, word, start);
          ASSERT_EQ(position, text.find('"' + word + '"', start)) << text << " from " << start << ", " << word;
          ++(position == npos ? absent : found);
        }
      }
    }
  }
  EXPECT_GT(found, 10000u);
  EXPECT_GT(absent, 10000u);
}

TEST(TextSearchTest, AWordIsFoundWhereverItStands) {
  std::vector<std::string> words = {"", "a", "meshes"};
  for (const size_t length : {62u, 63u, 64u, 65u, 66u, 150u}) words.push_back(std::string(length, 'w'));
  for (const std::string& word : words) {
    for (size_t before = 0; before < 200; ++before) {
      for (const size_t after : {0u, 1u, 40u, 200u}) {
        const std::string characters = std::string(before, 's') + '"' + word + '"' + std::string(after, 'm');
        const std::vector<char> exact(characters.begin(), characters.end());
        const std::string_view text(exact.data(), exact.size());
        ASSERT_EQ(text_search::find_quoted(text, word, 0), before) << word << " with " << after << " after";
        ASSERT_EQ(text_search::find_quoted(text, word, before + 1), npos) << word << " with " << after << " after";
        const std::string_view unclosed = text.substr(0, before + 1 + word.size());
        ASSERT_EQ(text_search::find_quoted(unclosed, word, 0), npos) << word << " not closed";
      }
    }
  }
}

}  // namespace
}  // namespace json_scanning
