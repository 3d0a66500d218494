// Words in rows.
#include "output/words.h"

#include <algorithm>

#include "text/text.h"

namespace mrvctl {
namespace {

constexpr size_t kWordsPerRow = 8;

// Words from begin up to end, in rows; the first has the label, the others its width.
std::string word_rows(const std::string &label, const Words &run, size_t begin, size_t end) {
  std::string text;
  for (size_t i = begin; i < end; ++i) {
    if ((i - begin) % kWordsPerRow == 0)
      text += i == begin ? label : "\n" + std::string(label.size(), ' ');
    text += i < run.answered ? format(" %08x", run.words[i]) : " --------";
  }
  return text + "\n";
}

}  // namespace

std::string run_text(const Words &run) {
  std::string text;
  const int width = static_cast<int>(std::to_string(run.words.size()).size());
  for (size_t i = 0; i < run.words.size(); i += kWordsPerRow)
    text += word_rows(format("  %*zu:", width, i), run, i,
                      std::min(i + kWordsPerRow, run.words.size()));
  return text;
}

std::string entries_text(const Entries &entries) {
  const size_t count = entries.run.words.size() / entries.entry_size;
  const int width =
      std::max(5, static_cast<int>(std::to_string(entries.first_index + count).size()));
  std::string text =
      format("  %*s  %swords\n", width, "index", entries.address ? "address     " : "");
  for (size_t i = 0; i < count; ++i) {
    const size_t begin = i * entries.entry_size;
    std::string label = format("  %*zu ", width, entries.first_index + i);
    if (entries.address)
      label += format(" 0x%08x ", *entries.address + static_cast<uint32_t>(4 * begin));
    text += word_rows(label, entries.run, begin, begin + entries.entry_size);
  }
  return text;
}

Json entries_json(const Entries &entries) {
  Json list = Json::array();
  const size_t count = entries.run.words.size() / entries.entry_size;
  for (size_t i = 0; i < count; ++i) {
    const size_t begin = std::min(i * entries.entry_size, entries.run.answered);
    const size_t end = std::min(begin + entries.entry_size, entries.run.answered);
    Json entry = {{"index", entries.first_index + i}};
    if (entries.address)
      entry["address"] = *entries.address + static_cast<uint32_t>(4 * i * entries.entry_size);
    const uint32_t *const words = entries.run.words.data();
    entry["words"] = std::vector<uint32_t>(words + begin, words + end);
    list.push_back(std::move(entry));
  }
  return list;
}

}  // namespace mrvctl
