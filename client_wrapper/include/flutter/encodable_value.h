#ifndef CLIENT_WRAPPER_INCLUDE_FLUTTER_ENCODABLE_VALUE_H_
#define CLIENT_WRAPPER_INCLUDE_FLUTTER_ENCODABLE_VALUE_H_

#include <any>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <variant>
#include <vector>
#if __has_include(<compare>)  // C++20
#include <compare>
#endif

namespace flutter {

class EncodableValue;

/// A list of values, as Dart's List.
using EncodableList = std::vector<EncodableValue>;

/// A map of values, as Dart's Map, kept and sent in the order of its keys (see EncodableValue).
using EncodableMap = std::map<EncodableValue, EncodableValue>;

/// An object of a type of the application's own, for a codec that was extended to carry it.
///
/// Two custom values are never equal: each stands for itself alone, ordered by its address.
class CustomEncodableValue {
 public:
  template <typename T, typename = std::enable_if_t<!std::is_same_v<std::decay_t<T>, CustomEncodableValue>>>
  explicit CustomEncodableValue(T&& object) : object_(std::forward<T>(object)) {}

  const std::type_info& type() const { return object_.type(); }
  const std::any& object() const { return object_; }

  bool operator<(const CustomEncodableValue& other) const { return std::less<>()(this, &other); }
  bool operator==(const CustomEncodableValue& other) const { return this == &other; }
  // A variant of such values compares with each of these.
  bool operator!=(const CustomEncodableValue& other) const { return !(*this == other); }
  bool operator>(const CustomEncodableValue& other) const { return other < *this; }
  bool operator<=(const CustomEncodableValue& other) const { return !(other < *this); }
  bool operator>=(const CustomEncodableValue& other) const { return !(*this < other); }

 private:
  std::any object_;
};

namespace internal {

// The order of the alternatives is the order of values of different types, and the codec goes by it.
using EncodableVariant = std::variant<std::monostate,        //  0: null
                                      bool,                  //  1
                                      int32_t,               //  2
                                      int64_t,               //  3
                                      double,                //  4
                                      std::string,           //  5: UTF-8
                                      std::vector<uint8_t>,  //  6
                                      std::vector<int32_t>,  //  7
                                      std::vector<int64_t>,  //  8
                                      std::vector<double>,   //  9
                                      EncodableList,         // 10
                                      EncodableMap,          // 11
                                      CustomEncodableValue,  // 12
                                      std::vector<float>>;   // 13

}  // namespace internal

/// A value of a channel message: null, a boolean, a number, a string, a typed list, a list or a map.
///
/// It is a std::variant; std::get, std::get_if and std::holds_alternative read it. Nothing is converted on the
/// way: a Dart int arrives as int32_t, or as int64_t when it needs one, a Dart double as double. Values are
/// ordered by alternative first, then as the alternative orders itself; one that an exception left without any
/// (valueless_by_exception) comes before all others and equals its like.
class EncodableValue : public internal::EncodableVariant {
 public:
  EncodableValue() = default;
  EncodableValue(std::nullptr_t) {}  // NOLINT: meant to convert

  /// Holds the alternative whose type `value` has, or the only one it converts to without loss.
  template <typename T, typename = std::enable_if_t<!std::is_base_of_v<EncodableValue, std::decay_t<T>> &&
                                                    !std::is_same_v<std::decay_t<T>, char*> &&
                                                    std::is_constructible_v<internal::EncodableVariant, T>>>
  EncodableValue(T&& value) : internal::EncodableVariant(std::forward<T>(value)) {}  // NOLINT: meant to convert

  /// A null pointer is null.
  EncodableValue(const char* text) {  // NOLINT: meant to convert
    if (text != nullptr) emplace<std::string>(text);
  }

  bool IsNull() const { return std::holds_alternative<std::monostate>(*this); }
};

// All of them, so that no comparison is std::variant's own. Declared before any is used: in C++20 one that is missing
// would be looked for in the order of lists, which looks for it in that of values again.
inline bool operator<(const EncodableValue& a, const EncodableValue& b);
inline bool operator>(const EncodableValue& a, const EncodableValue& b);
inline bool operator<=(const EncodableValue& a, const EncodableValue& b);
inline bool operator>=(const EncodableValue& a, const EncodableValue& b);
inline bool operator==(const EncodableValue& a, const EncodableValue& b);
inline bool operator!=(const EncodableValue& a, const EncodableValue& b);
#if defined(__cpp_lib_three_way_comparison)
inline std::weak_ordering operator<=>(const EncodableValue& a, const EncodableValue& b);
#endif

namespace internal {

// Negative, zero or positive where `a` comes before, with or after `b`.
//
// All three at once: the standard containers find out by asking for "less" both ways, which at every level of nesting
// doubles the work. Two equal keys of a few dozen lists in one another would never be compared to the end.
inline int Compare(const EncodableValue& a, const EncodableValue& b);

template <typename T>
int CompareContent(const T& a, const T& b) {
  return a < b ? -1 : b < a ? 1 : 0;
}
inline int CompareContent(const std::string& a, const std::string& b) { return a.compare(b); }
inline int CompareContent(const EncodableValue& a, const EncodableValue& b) { return Compare(a, b); }
inline int CompareContent(const EncodableMap::value_type& a, const EncodableMap::value_type& b) {
  const int keys = Compare(a.first, b.first);
  return keys != 0 ? keys : Compare(a.second, b.second);
}

template <typename Container>
int CompareElements(const Container& a, const Container& b) {
  auto in_a = a.begin();
  auto in_b = b.begin();
  for (; in_a != a.end() && in_b != b.end(); ++in_a, ++in_b) {
    const int elements = CompareContent(*in_a, *in_b);
    if (elements != 0) return elements;
  }
  return CompareContent(a.size(), b.size());
}
inline int CompareContent(const EncodableList& a, const EncodableList& b) { return CompareElements(a, b); }
inline int CompareContent(const EncodableMap& a, const EncodableMap& b) { return CompareElements(a, b); }

inline int Compare(const EncodableValue& a, const EncodableValue& b) {
  // As std::variant has it, what has no content comes first: its index is one below null's.
  if (a.index() != b.index()) return a.index() + 1 < b.index() + 1 ? -1 : 1;
  if (a.valueless_by_exception()) return 0;
  return std::visit(
      [&b](const auto& content) { return CompareContent(content, std::get<std::decay_t<decltype(content)>>(b)); },
      static_cast<const EncodableVariant&>(a));
}

}  // namespace internal

inline bool operator<(const EncodableValue& a, const EncodableValue& b) { return internal::Compare(a, b) < 0; }
inline bool operator>(const EncodableValue& a, const EncodableValue& b) { return b < a; }
inline bool operator<=(const EncodableValue& a, const EncodableValue& b) {
  const auto* const number = std::get_if<double>(&a);
  const auto* const other = std::get_if<double>(&b);
  if (number != nullptr && other != nullptr) return *number <= *other;  // false for a NaN, as are all but !=
  return !(b < a);
}
inline bool operator>=(const EncodableValue& a, const EncodableValue& b) { return b <= a; }
inline bool operator==(const EncodableValue& a, const EncodableValue& b) {
  return static_cast<const internal::EncodableVariant&>(a) == static_cast<const internal::EncodableVariant&>(b);
}
inline bool operator!=(const EncodableValue& a, const EncodableValue& b) { return !(a == b); }
#if defined(__cpp_lib_three_way_comparison)
inline std::weak_ordering operator<=>(const EncodableValue& a, const EncodableValue& b) {
  return internal::Compare(a, b) <=> 0;
}
#endif

}  // namespace flutter

#endif  // CLIENT_WRAPPER_INCLUDE_FLUTTER_ENCODABLE_VALUE_H_
