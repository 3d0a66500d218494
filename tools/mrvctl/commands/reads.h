// Reads of registers and table entries as several commands make them, and what is looked at before
// the library is asked for entries.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "asic/register_reference.h"
#include "asic/table_shapes.h"
#include "commands/commands.h"
#include "output/words.h"

namespace mrvctl {

// Words that one command reads at most: the tool holds them all.
constexpr uint32_t kMaxBlockWords = 1U << 20;

// Calls `use` with the first register in the instance of a reference, or in every instance of the
// block; then a failure says in which.
void for_each_instance(Session &session, const RegisterReference &reference,
                       const std::function<void(const Register &)> &use);

// The same with the words that the round before has read, empty in the first: once, or again and
// again with --watch.
void read_instances(Session &session, const RegisterReference &reference, const WatchArgs &watch,
                    const std::function<void(const Register &, Words &last)> &read);

// Reads a register, or a run of them where there is a count. Throws OperationFailed.
Words read_block(Session &session, const Register &reg, std::optional<uint32_t> count);

// Reads entries of a table. Throws OperationFailed.
Words read_block(Session &session, const Register &reg, const Table &table, const Range &entries);

// Throws OperationFailed unless the words read are the expected ones; `per_entry` is 0 where they
// are no table entries.
void expect_words(const std::vector<uint32_t> &expected, const Words &run, size_t per_entry);

// Reports each word that is not what it was before, with its name and the bits that changed.
void report_changes(Session &session, const Words &before, const Words &now,
                    const std::function<std::string(uint32_t word)> &name);

// What a read says of a transaction that was open before it, and that it sent.
std::string interruption_text(const Transaction &before);

// The table that a register is. Throws OperationFailed where it is none.
Table table_of(Session &session, const Register &reg);

// The arrays that the library fills or reads are as long as the entry size says, which is that of
// entry 0: where the hook decides, it must not depend on the index. Throws OperationFailed.
void check_entry_size(Session &session, const Table &table, uint32_t index);

// Entries beyond the last, behind one that exists, are refused here: the library looks at the first
// only, and the service would access what follows the table. Throws OperationFailed.
void check_range(const Table &table, uint32_t index, uint64_t count);

// Why the library may have refused an entry.
std::string index_hint(Session &session, const Register &reg, const Table &table, uint32_t index);

}  // namespace mrvctl
