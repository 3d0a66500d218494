// The words of an ASIC by address, in pages made before their first write. Consecutive accesses are
// mostly to one page, so the cached page is tried first.
#ifndef WORD_STORE_H
#define WORD_STORE_H

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

class WordStore {
 public:
  // A word that was never written is 0.
  uint32_t read(uint32_t address) const {
    return is_cached(address) || find(address) ? (*cached_page_)[address % kPageSpan / 4] : 0;
  }

  // Calls visit(address, word) for each word that is not 0, in the order of the addresses.
  template <typename Visit>
  void for_each(Visit visit) const {
    std::vector<uint32_t> numbers;
    for (const auto &page : pages_)
      numbers.push_back(page.first);
    std::sort(numbers.begin(), numbers.end());
    for (const uint32_t number : numbers) {
      const Page &page = *pages_.at(number);
      for (uint32_t i = 0; i < page.size(); ++i) {
        if (page[i] != 0)
          visit(number * kPageSpan + 4 * i, page[i]);
      }
    }
  }

  // Allocates the page of a word, so that at() cannot fail. Throws std::bad_alloc.
  void reserve(uint32_t address) {
    if (!is_cached(address) && !find(address))
      add(address);
  }

  // The word itself, which has been reserved.
  uint32_t &at(uint32_t address) {
    reserve(address);
    return (*cached_page_)[address % kPageSpan / 4];
  }

 private:
  static constexpr uint32_t kPageSpan = 4096;
  using Page = std::array<uint32_t, kPageSpan / 4>;

  bool is_cached(uint32_t address) const { return address / kPageSpan == cached_number_; }
  bool find(uint32_t address) const;
  void add(uint32_t address);

  std::unordered_map<uint32_t, std::unique_ptr<Page>> pages_;
  mutable uint32_t cached_number_ = UINT32_MAX;  // no page has this number
  mutable Page *cached_page_ = nullptr;
};

#endif
