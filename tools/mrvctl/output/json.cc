// JSON values.
#include "output/json.h"

#include <nlohmann/json.hpp>

namespace mrvctl {
namespace {

using Library = nlohmann::json;

std::string quoted(const std::string &text) {
  return Library(text).dump(-1, ' ', false, Library::error_handler_t::replace);
}

}  // namespace

Json::Json(std::initializer_list<std::pair<std::string, Json>> members)
    : kind_(Kind::kObject), members_(members) {
}

Json::Json(double value) : kind_(Kind::kLiteral), text_(Library(value).dump()) {
}

Json Json::array() {
  Json list;
  list.kind_ = Kind::kList;
  return list;
}

void Json::append(const Json &object) {
  members_.insert(members_.end(), object.members_.begin(), object.members_.end());
}

Json &Json::operator[](const std::string &key) {
  kind_ = Kind::kObject;
  for (auto &[name, value] : members_) {
    if (name == key)
      return value;
  }
  return members_.emplace_back(key, Json()).second;
}

std::string Json::dump() const {
  if (kind_ == Kind::kNull)
    return "null";
  if (kind_ == Kind::kLiteral)
    return text_;
  if (kind_ == Kind::kText)
    return quoted(text_);
  const bool is_list = kind_ == Kind::kList;
  std::string line;
  for (const auto &[name, value] : members_) {
    line += line.empty() ? "" : ",";
    if (!is_list)
      line += quoted(name) + ":";
    line += value.dump();
  }
  return is_list ? "[" + line + "]" : "{" + line + "}";
}

}  // namespace mrvctl
