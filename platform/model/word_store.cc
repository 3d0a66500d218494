#include "word_store.h"

bool WordStore::find(uint32_t address) const {
  const auto found = pages_.find(address / kPageSpan);
  if (found == pages_.end())
    return false;
  cached_page_ = found->second.get();
  cached_number_ = found->first;
  return true;
}

void WordStore::add(uint32_t address) {
  cached_page_ = (pages_[address / kPageSpan] = std::make_unique<Page>()).get();
  cached_number_ = address / kPageSpan;
}
