// The text of JSON values.
#include "output/json.h"

namespace mrvctl {

std::string json_text(const Json &value) {
  return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace mrvctl
