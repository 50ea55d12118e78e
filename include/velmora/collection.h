#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace velmora {

// The keyed collection the public classes expose: items in the order added, reached by a
// 1-based index or by the key they were added with (keys are optional and unique).
template <class T>
class Collection {
 public:
  size_t Count() const { return items_.size(); }

  // Adds at the end. A key already in use is rejected with false and nothing added.
  bool Add(T item, std::optional<std::string> key = std::nullopt) {
    if (key && Find(*key)) return false;
    items_.push_back({std::move(key), std::make_shared<T>(std::move(item))});
    return true;
  }

  // 1-based; nullptr outside 1..Count().
  T* Item(size_t index) {
    return index >= 1 && index <= items_.size() ? items_[index - 1].value.get() : nullptr;
  }
  const T* Item(size_t index) const {
    return index >= 1 && index <= items_.size() ? items_[index - 1].value.get() : nullptr;
  }
  T* Item(const std::string& key) { return Find(key); }

  // Removes the 1-based item; false outside 1..Count().
  bool Remove(size_t index) {
    if (index < 1 || index > items_.size()) return false;
    items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(index - 1));
    return true;
  }
  void Clear() { items_.clear(); }

 private:
  struct Entry {
    std::optional<std::string> key;
    std::shared_ptr<T> value;
  };
  T* Find(const std::string& key) const {
    for (const auto& e : items_)
      if (e.key && *e.key == key) return e.value.get();
    return nullptr;
  }
  std::vector<Entry> items_;

 public:
  struct EntryIterator {
    typename std::vector<Entry>::const_iterator it;
    T& operator*() const { return *it->value; }
    EntryIterator& operator++() { ++it; return *this; }
    bool operator!=(const EntryIterator& o) const { return it != o.it; }
  };
  EntryIterator begin() const { return {items_.begin()}; }
  EntryIterator end() const { return {items_.end()}; }
};

}  // namespace velmora
