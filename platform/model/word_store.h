// The words of an ASIC by address, in pages made before their first write. Consecutive accesses are
// mostly to one page, so the cached page is tried first.
#ifndef WORD_STORE_H
#define WORD_STORE_H

#include <array>
#include <cstdint>
#include <memory>
#include <unordered_map>

class WordStore {
 public:
  // A word that was never written is 0.
  uint32_t read(uint32_t address) const {
    return is_cached(address) || find(address) ? (*cached_page_)[address % kPageSpan / 4] : 0;
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
