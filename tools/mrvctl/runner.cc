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
    fail(Status::kUsage, place, shown, error);
  } catch (const OperationFailed &error) {
    fail(error.status(), place, shown, error);
  } catch (const std::exception &error) {
    fail(Status::kFailed, place, shown, error);
  }
  return false;
}

void Runner::fail(Status status, const Place &place, const std::string &shown,
                  const std::exception &error) {
  if (!failed())
    status_ = status;
  session_.report.failure(place, shown, session_.command(), error_json(error));
}

}  // namespace mrvctl
