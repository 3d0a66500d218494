// Calls as packets of a pcapng file, which network analysers read: request and answer, each with
// what its reader cannot know: who called, how long it took, what the registers are called.
// docs/calls.md describes the bytes; share/wireshark/morvane.lua reads them.
#pragma once

#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "asic/address_index.h"
#include "calls/decoded_call.h"

namespace mrvctl {

// Makes a file for its user only, as it holds what was written to the registers. A file of that
// name is replaced if it is a regular file and `replace`. Throws OperationFailed.
std::FILE *new_file(const std::string &path, bool replace);

class PcapngWriter {
 public:
  // Takes the file, whose name is for messages. An interface for each name.
  PcapngWriter(std::FILE *file, std::string name, const std::vector<std::string> &interfaces);

  // Calls come in the order in which they began; the answer has the place where it came back. The
  // call's file is its interface.
  void add(const DecodedCall &call, const AddressIndex &index);

  // Throws OperationFailed where something could not be written.
  void close();

  uint64_t packets() const { return packets_; }

 private:
  struct Packet {
    uint64_t wall_ns;
    uint32_t interface;
    std::vector<uint8_t> bytes;
    uint64_t true_length;
  };
  struct Closer {
    void operator()(std::FILE *file) const { std::fclose(file); }
  };

  void write_block(uint32_t type, const std::vector<uint8_t> &body);
  void write_packet(const Packet &packet);
  // Those that come before a moment.
  void write_answers(uint64_t before_ns);

  std::string name_;
  std::unique_ptr<std::FILE, Closer> file_;
  std::multimap<uint64_t, Packet> answers_;  // by order_ns, those of one moment as they came
  uint64_t packets_ = 0;
  bool failed_ = false;
};

}  // namespace mrvctl
