// Runs the steps of the tool, reports those that fail, and keeps the status of the first.
#ifndef MRVCTL_RUNNER_H
#define MRVCTL_RUNNER_H

#include <functional>
#include <string>

#include "commands/session.h"
#include "text/errors.h"

namespace mrvctl {

class Runner {
 public:
  explicit Runner(Session &session) : session_(session) {}

  bool failed() const { return status_ != Status::kDone; }
  int status() const { return static_cast<int>(status_); }

  // Runs one step; a message shows its place and `shown`, which the step may change. False if the
  // step failed.
  bool run(const Place &place, const std::string &shown, const std::function<void()> &step);

 private:
  void fail(Status status, const Place &place, const std::string &shown,
            const std::exception &error);

  Session &session_;
  Status status_ = Status::kDone;
};

}  // namespace mrvctl

#endif
