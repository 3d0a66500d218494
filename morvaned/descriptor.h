// A file descriptor that closes itself.
#ifndef MORVANED_DESCRIPTOR_H
#define MORVANED_DESCRIPTOR_H

#include <unistd.h>

#include <utility>

namespace morvaned {

class Descriptor {
 public:
  explicit Descriptor(int number = -1) : number_(number) {}
  Descriptor(Descriptor &&other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor &operator=(Descriptor &&other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  Descriptor(const Descriptor &) = delete;
  Descriptor &operator=(const Descriptor &) = delete;
  ~Descriptor() {
    if (number_ >= 0)
      close(number_);
  }

  int get() const { return number_; }

 private:
  int number_;
};

}  // namespace morvaned

#endif
