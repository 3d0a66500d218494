// Runs the steps of the tool.
#include "runner.h"

#include <cstdio>

namespace mrvctl {

bool Runner::run(const Place &place, const std::string &shown, const std::function<void()> &step) {
  try {
    step();
    std::fflush(stdout);
    return true;
  } catch (const UsageError &error) {
    fail(Status::kUsage, place, shown, error_json(std::nullopt, "USAGE", error.what()));
  } catch (const OperationFailed &error) {
    const std::string name = error.code() ? result_name(*error.code()) : "FAILED";
    fail(Status::kFailed, place, shown, error_json(error.code(), name, error.what()));
  } catch (const std::exception &error) {
    fail(Status::kFailed, place, shown, error_json(std::nullopt, "FAILED", error.what()));
  }
  return false;
}

void Runner::fail(Status status, const Place &place, const std::string &shown, const Json &error) {
  if (!failed())
    status_ = status;
  session_.report.failure(place, shown, session_.command(), error);
}

}  // namespace mrvctl
