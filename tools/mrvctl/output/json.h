// The JSON library, which takes long to compile: included where objects are made, nowhere else.
#ifndef MRVCTL_JSON_H
#define MRVCTL_JSON_H

#include <nlohmann/json.hpp>

namespace mrvctl {

// Keys in the order in which they are set.
using Json = nlohmann::ordered_json;

}  // namespace mrvctl

#endif
