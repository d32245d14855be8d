// The functions that pick values out of the JSON text, what they misread included: the same file must always give the
// same model.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <stdexcept>
#include <string>
#include <vector>

#include "model/json_scanning.h"
#include "test/model/throws_as.h"

namespace json_scanning {
namespace {

// ---- find_key ---------------------------------------------------------------------------------------------

TEST(FindKeyTest, TheFirstQuotedOccurrenceIsTaken) {
  const struct {
    const char* name;
    const char* text;
    const char* key;
    size_t position;
  } kRows[] = {
      {"at the start", R"("count":1)", "count", 0},
      {"after other text", R"({"a":1,"count":2})", "count", 7},
      {"at the end", R"(x "count")", "count", 2},
      {"the first of two", R"("count":1,"count":2)", "count", 0},
      {"inside a deeper object", R"({"extras":{"count":1},"count":2})", "count", 11},
      {"a string value that reads like it", R"({"name":"count","count":2})", "count", 8},
      {"the beginning of a longer key", R"({"materials":1})", "material", npos},
      {"the end of a longer key", R"({"byteOffset":1})", "Offset", npos},
      {"a longer key, then the key", R"({"materials":1,"material":2})", "material", 15},
      {"another case", R"({"Count":1})", "count", npos},
      {"without quotes", R"({count:1})", "count", npos},
      {"without the closing quote", R"({"count)", "count", npos},
      {"with a space before the quote", R"({"count ":1})", "count", npos},
      {"in single quotes", R"({'count':1})", "count", npos},
      {"nothing", "", "count", npos},
      {"the empty key", R"({"a":""})", "", 5},
  };
  for (const auto& row : kRows) EXPECT_EQ(find_key(row.text, row.key, 0), row.position) << row.name;
}

TEST(FindKeyTest, TheSearchBeginsAtTheStartPosition) {
  const std::string text = R"("count":1,"count":2)";
  EXPECT_EQ(find_key(text, "count", 0), 0u);
  EXPECT_EQ(find_key(text, "count", 1), 10u);
  EXPECT_EQ(find_key(text, "count", 10), 10u);
  EXPECT_EQ(find_key(text, "count", 11), npos);
  EXPECT_EQ(find_key(text, "count", text.size()), npos);
  EXPECT_EQ(find_key(text, "count", text.size() + 1), npos);
}

TEST(FindKeyTest, AZeroByteIsACharacterLikeAnyOther) {
  const std::string_view text("\0\"count\":1", 10);
  EXPECT_EQ(find_key(text, "count", 0), 1u);
}

// ---- parse_int_field --------------------------------------------------------------------------------------

struct IntegerRow {
  const char* name;
  const char* text;
  int value;
};

TEST(ParseIntFieldTest, TheFirstRunOfDigitsAndMinusSignsAfterTheColonIsTheValue) {
  const IntegerRow kRows[] = {
      {"after a space", R"({"count": 24})", 24},
      {"negative", R"({"count":-7})", -7},
      {"a decimal fraction", R"({"count":3.9})", 3},
      {"an exponent", R"({"count":1e3})", 1},
      {"a plus sign is skipped", R"({"count":+5})", 5},
      {"a plus sign before a minus sign", R"({"count":+-5})", -5},
      {"a plus sign alone", R"({"count":+,"byteOffset":12})", 12},
      {"zero", R"({"count":0})", 0},
      {"leading zeros are not octal", R"({"count":010})", 10},
      {"hexadecimal", R"({"count":0x1F})", 0},
      {"the greatest", R"({"count":2147483647})", INT_MAX},
      {"the least", R"({"count":-2147483648})", INT_MIN},
      {"a minus sign within", R"({"count":12-3})", 12},
      {"a minus sign at the end", R"({"count":12-})", 12},
      {"at the end of the text", R"("count":24)", 24},
      {"right after the colon at the end of the text", R"("count":4)", 4},
      {"line breaks and tabs", "{\"count\"\r\n\t :\r\n\t 24\r\n}", 24},
      {"the first of two", R"({"count":1,"count":2})", 1},
      {"of a deeper object", R"({"extras":{"count":1},"count":2})", 1},
      {"a number before the key", R"({"byteOffset":12,"count":24})", 24},
      {"a colon before the key", R"({"a":1,"count" 5:6})", 6},
      {"another key between the key and its colon", R"({"count","other":8})", 8},
  };
  for (const IntegerRow& row : kRows) EXPECT_EQ(parse_int_field(row.text, "count", -99), row.value) << row.name;
}

TEST(ParseIntFieldTest, AColonWithinTheKeyIsTakenForTheOneAfterIt) {
  EXPECT_EQ(parse_int_field(R"({"a:9b":5})", "a:9b", -99), 9);
}

TEST(ParseIntFieldTest, AValueThatIsNoNumberYieldsTheNextNumberInTheText) {
  const IntegerRow kRows[] = {
      {"a string", R"({"count":"many","byteOffset":12})", 12},
      {"a string with a number in it", R"({"count":"24"})", 24},
      {"null", R"({"count":null,"byteOffset":12})", 12},
      {"true", R"({"count":true,"byteOffset":12})", 12},
      {"an object", R"({"count":{"a":{"b":12}},"c":5})", 12},
      {"an array", R"({"count":["x",12]})", 12},
      {"nothing", R"({"count":,"byteOffset":12})", 12},
      {"a digit in the next key", R"({"count":null,"TEXCOORD_3":12})", 3},
      {"a minus sign before a digit in the next key", R"({"count":null,"a-3":12})", -3},
  };
  for (const IntegerRow& row : kRows) EXPECT_EQ(parse_int_field(row.text, "count", -99), row.value) << row.name;
}

TEST(ParseIntFieldTest, AStringValueThatReadsLikeTheKeyIsTakenForIt) {
  EXPECT_EQ(parse_int_field(R"({"name":"count","count":24})", "count", -99), 24);
  EXPECT_EQ(parse_int_field(R"({"name":"count","mode":4,"count":24})", "count", -99), 4);
}

TEST(ParseIntFieldTest, WithoutKeyColonOrNumberTheDefaultIsTheValue) {
  const struct {
    const char* name;
    const char* text;
  } kRows[] = {
      {"no text", ""},
      {"no key", R"({"counts":24})"},
      {"no colon", R"({"count")"},
      {"no colon after the key", R"({"a":1,"count"})"},
      {"no number", R"({"count":null})"},
      {"nothing after the colon", R"("count":)"},
      {"a number before the colon alone", R"({"count" 5:x})"},
  };
  for (const auto& row : kRows) {
    for (const int default_value : {0, -1, 7, INT_MIN}) {
      EXPECT_EQ(parse_int_field(row.text, "count", default_value), default_value) << row.name;
    }
  }
}

TEST(ParseIntFieldTest, ARunThatBeginsNoNumberThrowsInvalidArgument) {
  for (const char* value : {"-,", "-", "--5", "---", "- 5", "-.5", "-x"}) {
    SCOPED_TRACE(value);
    EXPECT_THAT([&] { parse_int_field(std::string("{\"count\":") + value, "count", 0); },
                ThrowsAs<std::invalid_argument>("stoi"));
  }
}

TEST(ParseIntFieldTest, AMinusSignAfterAnotherValueThrowsInvalidArgument) {
  EXPECT_THAT([] { parse_int_field(R"({"count":null,"a-b":5})", "count", 0); },
              ThrowsAs<std::invalid_argument>("stoi"));
}

TEST(ParseIntFieldTest, AValueBeyond32BitsThrowsOutOfRange) {
  for (const char* value : {"99999999999", "2147483648", "-2147483649", "4294967296", "9223372036854775808",
                            "-99999999999999999999999999", "2147483648.5"}) {
    SCOPED_TRACE(value);
    EXPECT_THAT([&] { parse_int_field(std::string("{\"count\":") + value + "}", "count", 0); },
                ThrowsAs<std::out_of_range>("stoi"));
  }
}

TEST(ParseIntFieldTest, ErrnoIsPreserved) {
  for (const int before : {0, ERANGE, EINVAL}) {
    errno = before;
    EXPECT_EQ(parse_int_field(R"({"count":2147483647})", "count", 0), INT_MAX);
    EXPECT_EQ(errno, before);
  }
}

// ---- parse_attribute_index --------------------------------------------------------------------------------

TEST(ParseAttributeIndexTest, TheFirstRunOfDigitsAfterTheColonIsTheValue) {
  const IntegerRow kRows[] = {
      {"a number", R"({"POSITION":0,"NORMAL":1})", 1},
      {"after a space", R"({"NORMAL": 12})", 12},
      {"at the end of the text", R"("NORMAL":12)", 12},
      {"a minus sign is no part of it", R"({"NORMAL":-1})", 1},
      {"two minus signs", R"({"NORMAL":--5})", 5},
      {"a lone minus sign", R"({"NORMAL":-,"TANGENT":4})", 4},
      {"a minus sign within", R"({"NORMAL":12-3})", 12},
      {"a decimal fraction", R"({"NORMAL":3.9})", 3},
      {"a string, then a number", R"({"NORMAL":"x","TANGENT":4})", 4},
      {"null, then a digit in a key", R"({"NORMAL":null,"TEXCOORD_0":4})", 0},
      {"the greatest", R"({"NORMAL":2147483647})", INT_MAX},
      {"the first of two", R"({"NORMAL":1,"NORMAL":2})", 1},
      {"a longer key", R"({"NORMAL_0":1})", -1},
      {"no key", R"({"POSITION":0})", -1},
      {"no text", "", -1},
      {"no colon", R"({"POSITION":0,"NORMAL"})", -1},
      {"no number", R"({"NORMAL":-})", -1},
  };
  for (const IntegerRow& row : kRows) EXPECT_EQ(parse_attribute_index(row.text, "NORMAL"), row.value) << row.name;
}

TEST(ParseAttributeIndexTest, AValueBeyond32BitsThrowsOutOfRange) {
  for (const char* value : {"99999999999", "2147483648", "-2147483648"}) {
    SCOPED_TRACE(value);
    EXPECT_THAT([&] { parse_attribute_index(std::string("{\"NORMAL\":") + value + "}", "NORMAL"); },
                ThrowsAs<std::out_of_range>("stoi"));
  }
}

TEST(ParseAttributeIndexTest, ErrnoIsPreserved) {
  errno = ERANGE;
  EXPECT_EQ(parse_attribute_index(R"({"NORMAL":1})", "NORMAL"), 1);
  EXPECT_EQ(errno, ERANGE);
}

// ---- parse_string_field -----------------------------------------------------------------------------------

TEST(ParseStringFieldTest, TheNextQuotedTextAfterTheColonIsTheValue) {
  const struct {
    const char* name;
    const char* text;
    const char* value;
  } kRows[] = {
      {"a string", R"({"type":"VEC3"})", "VEC3"},
      {"after white space", "{\"type\" :\n\t\"VEC3\"}", "VEC3"},
      {"at the end of the text", R"("type":"VEC3")", "VEC3"},
      {"empty", R"({"type":""})", ""},
      {"spaces within", R"({"type":" VEC3 "})", " VEC3 "},
      {"a number: the name of the next key", R"({"type":5,"count":24})", "count"},
      {"null: the name of the next key", R"({"type":null,"count":24})", "count"},
      {"an object: its first key", R"({"type":{"a":"b"}})", "a"},
      {"an array: its first string", R"({"type":["x","y"]})", "x"},
      {"an escaped quote ends it", R"({"type":"VE\"C3"})", "VE\\"},
      {"other escapes stay as they are", R"({"type":"\u0056EC3"})", "\\u0056EC3"},
      {"braces and brackets within", R"({"type":"}]{["})", "}]{["},
      {"the first of two", R"({"type":"SCALAR","type":"VEC3"})", "SCALAR"},
      {"of a deeper object", R"({"extras":{"type":"a"},"type":"VEC3"})", "a"},
      {"a colon within another key: what stands between the quotes", R"({"type","a:b":"c"})", ":"},
      {"a string value that reads like the key", R"({"name":"type","type":"VEC3"})", "VEC3"},
      {"no key", R"({"Type":"VEC3"})", ""},
      {"no colon", R"({"a":"b","type" "VEC3"})", ""},
      {"no opening quote", R"({"type":5})", ""},
      {"no closing quote", R"({"type":"VEC3)", ""},
      {"nothing after the opening quote", R"({"type":")", ""},
      {"no text", "", ""},
  };
  for (const auto& row : kRows) EXPECT_EQ(parse_string_field(row.text, "type"), row.value) << row.name;
}

// ---- get_array_element_object -----------------------------------------------------------------------------

constexpr const char* kNoObject = nullptr;

struct ElementRow {
  const char* name;
  const char* text;
  int index;
  const char* object;
};

void ExpectElements(const std::vector<ElementRow>& rows) {
  for (const ElementRow& row : rows) {
    SCOPED_TRACE(row.name);
    std::string object = "untouched";
    EXPECT_EQ(get_array_element_object(row.text, "a", row.index, object), row.object != kNoObject);
    EXPECT_EQ(object, row.object == kNoObject ? "untouched" : row.object);
  }
}

TEST(GetArrayElementObjectTest, TheIndexCountsTheObjectsDirectlyInTheArray) {
  const char* const kNested = R"({"a":[{"x":{"y":1}},{"z":2}],"b":[{"c":3}]})";
  const char* const kNumberFirst = R"({"a":[7,{"x":1},"s",null,{"y":2}]})";
  ExpectElements({
      {"the first", kNested, 0, R"({"x":{"y":1}})"},
      {"the second", kNested, 1, R"({"z":2})"},
      {"one after the last", kNested, 2, kNoObject},
      {"the greatest index", kNested, INT_MAX, kNoObject},
      {"a negative index", kNested, -1, kNoObject},
      {"the least index", kNested, INT_MIN, kNoObject},
      {"numbers are not counted", kNumberFirst, 0, R"({"x":1})"},
      {"nor strings and null", kNumberFirst, 1, R"({"y":2})"},
      {"an empty object", R"({"a":[{},{"x":1}]})", 0, "{}"},
      {"after an empty object", R"({"a":[{},{"x":1}]})", 1, R"({"x":1})"},
      {"arrays in elements", R"({"a":[{"x":[1,[2]]},{"y":[]}]})", 1, R"({"y":[]})"},
      {"objects in arrays in elements", R"({"a":[{"x":[{"u":1},{"v":2}]},{"y":1}]})", 1, R"({"y":1})"},
      {"white space", "{ \"a\" : [ { \"x\" : 1 } ,\n { \"y\" : 2 } ] }", 1, "{ \"y\" : 2 }"},
      {"no commas", R"({"a":[{"x":1}{"y":2}]})", 1, R"({"y":2})"},
      {"an empty array", R"({"a":[]})", 0, kNoObject},
      {"an array without objects", R"({"a":[1,2,3]})", 0, kNoObject},
  });
}

TEST(GetArrayElementObjectTest, TheArrayIsTheNextBracketAfterTheKeysColon) {
  ExpectElements({
      {"no text", "", 0, kNoObject},
      {"no key", R"({"aa":[{"x":1}]})", 0, kNoObject},
      {"no colon", R"({"b":1,"a"[{"x":1}])", 0, kNoObject},
      {"a bracket before the colon alone", R"({"a"[:{"x":1}})", 0, kNoObject},
      {"no bracket", R"({"a":{"x":1}})", 0, kNoObject},
      {"the bracket of another key", R"({"a":5,"b":[{"x":1}]})", 0, R"({"x":1})"},
      {"the bracket inside an object", R"({"a":{"b":[{"x":1}]}})", 0, R"({"x":1})"},
      {"the first of two keys", R"({"a":[{"x":1}],"a":[{"y":2}]})", 0, R"({"x":1})"},
      {"a string value that reads like the key", R"({"n":"a","b":[{"x":1}],"a":[{"y":2}]})", 0, R"({"x":1})"},
      {"an object between the colon and the bracket", R"({"a":{"q":1},"b":[{"x":1}]})", 0, R"({"x":1})"},
  });
}

TEST(GetArrayElementObjectTest, AClosingBracketOutsideEveryObjectEndsTheArrayAlsoThatOfANestedArray) {
  ExpectElements({
      {"a nested array first", R"({"a":[[1,2],{"x":1}]})", 0, kNoObject},
      {"an object in a nested array", R"({"a":[[{"x":1}],{"y":2}]})", 0, R"({"x":1})"},
      {"after an object in a nested array", R"({"a":[[{"x":1}],{"y":2}]})", 1, kNoObject},
      {"a nested array after the object", R"({"a":[{"x":1},[]]})", 0, R"({"x":1})"},
      {"an opening bracket alone has no effect", R"({"a":[[[{"x":1})", 0, R"({"x":1})"},
      {"a bracket in a string", R"({"a":["]",{"x":1}]})", 0, kNoObject},
      {"the next array is not reached", R"({"a":[],"b":[{"x":1}]})", 0, kNoObject},
  });
}

TEST(GetArrayElementObjectTest, BracesInStringsCountLikeAllOthers) {
  ExpectElements({
      {"a closing brace ends the element", R"({"a":[{"s":"}"},{"x":1}]})", 0, R"({"s":"})"},
      {"and hides the elements after it", R"({"a":[{"s":"}"},{"x":1}]})", 1, kNoObject},
      {"an opening brace keeps the element open", R"({"a":[{"s":"{"},{"x":1}]})", 0, R"({"s":"{"},{"x":1}]})"},
      {"an opening brace keeps it open to the end", R"({"a":[{"s":"{"},{"x":1}])", 0, kNoObject},
      {"a pair of braces does nothing", R"({"a":[{"s":"{}"},{"x":1}]})", 1, R"({"x":1})"},
      {"a bracket within an element does nothing", R"({"a":[{"s":"]"},{"x":1}]})", 1, R"({"x":1})"},
      {"an escaped quote does nothing", R"({"a":[{"s":"\""},{"x":1}]})", 1, R"({"x":1})"},
  });
}

TEST(GetArrayElementObjectTest, AfterMoreClosingThanOpeningBracesNothingIsFound) {
  ExpectElements({
      {"a brace too many", R"({"a":[}{"x":1}])", 0, kNoObject},
      // The first object only makes up for the brace too many; its end does not count as the end of an
      // element.
      {"the bracket no longer ends the array", R"({"a":[}]{{"x":1}]})", 0, R"({"x":1})"},
      {"a negative index", R"({"a":[}{{"x":1}])", -1, kNoObject},
  });
}

TEST(GetArrayElementObjectTest, TextThatEndsTooEarlyYieldsOnlyTheElementsThatAreComplete) {
  ExpectElements({
      {"after the bracket", R"({"a":[)", 0, kNoObject},
      {"after the opening brace", R"({"a":[{)", 0, kNoObject},
      {"within the element", R"({"a":[{"x":{"y":1})", 0, kNoObject},
      {"right after the element", R"({"a":[{"x":1})", 0, R"({"x":1})"},
      {"within the second element", R"({"a":[{"x":1},{"y":)", 0, R"({"x":1})"},
      {"the second element", R"({"a":[{"x":1},{"y":)", 1, kNoObject},
  });
}

TEST(GetArrayElementObjectTest, EveryPrefixOfATextIsScannedWithoutReadingOn) {
  const std::string text = R"({"a":[{"x":{"y":"z"}},[1],{"b":-2}],"type":"VEC3","count":3})";
  for (size_t size = 0; size <= text.size(); ++size) {
    SCOPED_TRACE(size);
    const std::vector<char> prefix(text.data(), text.data() + size);  // of exactly its size
    const std::string_view view(prefix.data(), prefix.size());
    std::string object;
    EXPECT_EQ(get_array_element_object(view, "a", 0, object), size >= 21);
    EXPECT_FALSE(get_array_element_object(view, "a", 1, object));
    EXPECT_EQ(parse_string_field(view, "type"), size >= 49 ? "VEC3" : "");
    EXPECT_EQ(parse_int_field(view, "count", -1), size >= 59 ? 3 : -1);
    EXPECT_EQ(parse_attribute_index(view, "count"), size >= 59 ? 3 : -1);
    NestedObject nested;
    EXPECT_EQ(find_nested_object(view, "x", nested), size >= 12);
    EXPECT_EQ(nested.closed, size >= 20);
  }
}

// ---- The brace-matching rule ------------------------------------------------------------------------------

TEST(FindNestedObjectTest, TheObjectGoesFromTheNextBraceAfterTheColonToTheOneThatClosesIt) {
  const struct {
    const char* name;
    const char* text;
    const char* object;
  } kRows[] = {
      {"an object", R"({"o":{"x":1},"p":2})", R"({"x":1})"},
      {"empty", R"({"o":{}})", "{}"},
      {"objects within", R"({"o":{"x":{"y":{}},"z":{}},"p":{}})", R"({"x":{"y":{}},"z":{}})"},
      {"white space", "{\"o\" :\n {\"x\":1}}", R"({"x":1})"},
      {"a number, then the object of another key", R"({"o":5,"p":{"x":1}})", R"({"x":1})"},
      {"an array of objects", R"({"o":[{"x":1},{"y":2}]})", R"({"x":1})"},
      {"the first of two", R"({"o":{"x":1},"o":{"y":2}})", R"({"x":1})"},
      {"a closing brace in a string", R"({"o":{"s":"}","x":1}})", R"({"s":"})"},
      {"an opening brace in a string", R"({"o":{"s":"{"},"p":1})", R"({"s":"{"},"p":1})"},
      {"a closing brace between the colon and the object", R"({"n":{"o":1},"p":{"x":1}})", R"({"x":1})"},
      {"up to the end of the text", R"("o":{"x":1})", R"({"x":1})"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    NestedObject object;
    EXPECT_TRUE(find_nested_object(row.text, "o", object));
    EXPECT_TRUE(object.closed);
    EXPECT_EQ(object.text, row.object);
  }
}

TEST(FindNestedObjectTest, AnObjectThatIsNeverClosedIsItsOpeningBraceAlone) {
  for (const char* text : {R"({"o":{"x":1)", R"("o":{)", R"({"o":{"s":"{"})"}) {
    SCOPED_TRACE(text);
    NestedObject object;
    EXPECT_TRUE(find_nested_object(text, "o", object));
    EXPECT_FALSE(object.closed);
    EXPECT_EQ(object.text, "{");
  }
}

TEST(FindNestedObjectTest, WithoutKeyColonOrBraceThereIsNone) {
  for (const char* text : {"", R"({"oo":{}})", R"({"a":1,"o"})", R"({"o"{}})", R"({"o":5})", R"({"o"{:5})"}) {
    SCOPED_TRACE(text);
    NestedObject object;
    EXPECT_FALSE(find_nested_object(text, "o", object));
    EXPECT_FALSE(object.closed);
    EXPECT_EQ(object.text, "");
  }
}

}  // namespace
}  // namespace json_scanning
