// JSON values: what a command prints with --json.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace mrvctl {

// The keys of an object keep their order.
using Json = nlohmann::ordered_json;

// In one line, bytes that are not UTF-8 replaced.
std::string json_text(const Json &value);

}  // namespace mrvctl
