// A JSON value that is being put together: null, a number, a text, a list, or an object whose keys
// keep their order.
//
//     Json object = {{"command", "read"}, {"words", words}};
//     object["queued"] = false;
//
// Only json.cc includes the JSON library: its headers take longer to compile than several commands.
#pragma once

#include <initializer_list>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace mrvctl {

class Json {
 public:
  Json() = default;
  Json(std::initializer_list<std::pair<std::string, Json>> members);
  Json(const std::string &text) : kind_(Kind::kText), text_(text) {}
  Json(const char *text) : kind_(Kind::kText), text_(text) {}
  Json(bool value) : kind_(Kind::kLiteral), text_(value ? "true" : "false") {}
  Json(double value);
  template <typename Number, typename = std::enable_if_t<std::is_integral_v<Number>>>
  Json(Number value) : kind_(Kind::kLiteral), text_(std::to_string(value)) {}
  template <typename Value>
  Json(const std::vector<Value> &values) : kind_(Kind::kList) {
    for (const Value &value : values)
      push_back(value);
  }

  static Json array();

  // To the end of a list.
  void push_back(Json value) { members_.emplace_back("", std::move(value)); }

  // Adds the members of another object.
  void append(const Json &object);

  // The member of an object; a key that it lacks, or null, gets one.
  Json &operator[](const std::string &key);

  // In one line, bytes that are not UTF-8 replaced.
  std::string dump() const;

 private:
  enum class Kind { kNull, kLiteral, kText, kList, kObject };

  Kind kind_ = Kind::kNull;
  std::string text_;                                   // of a literal or a text
  std::vector<std::pair<std::string, Json>> members_;  // of a list, without keys, or an object
};

}  // namespace mrvctl
