#include "korvane/util/json_object_builder.h"

#include <algorithm>
#include <utility>

#include "util/keyed_hash.h"

namespace korvane {
namespace {

// Up to this many keys, comparing a new key with each is cheaper than hashing it.
constexpr std::size_t kUnindexedKeys = 8;

}  // namespace

JsonObjectBuilder::JsonObjectBuilder(JsonValue& object) {
  if (!object.is_object()) object = JsonValue::object();
  // The ordered map is a vector of its entries; appending to that vector skips the map's search.
  entries_ = object.get_ptr<JsonValue::object_t*>();
}

JsonValue& JsonObjectBuilder::operator[](std::string key) {
  Entries& all = entries();
  if (slots_.empty()) {
    if (all.size() < kUnindexedKeys) {
      for (auto& [name, value] : all)
        if (name == key) return value;
      makeRoom();
      return entries().emplace_back(std::move(key), nullptr).second;
    }
    index();
  }
  const std::uint64_t hash = keyedHash(key);
  const std::size_t mask = slots_.size() - 1;
  std::size_t slot = hash & mask;
  for (; slots_[slot] != 0; slot = (slot + 1) & mask) {
    const std::size_t position = slots_[slot] - 1;
    if (hashes_[position] == hash && all[position].first == key) return all[position].second;
  }
  makeRoom();
  entries().emplace_back(std::move(key), nullptr);
  hashes_.push_back(hash);
  slots_[slot] = entries().size();
  // Kept at most half full, so that a search meets a free slot soon.
  if (entries().size() * 2 > slots_.size()) index();
  return entries().back().second;
}

// An entry's key is const, so the vector's own growth would copy each value with its key, a whole
// subtree every time: grow it here instead, copying only the keys and moving the values.
void JsonObjectBuilder::makeRoom() {
  Entries& all = entries();
  if (all.size() < all.capacity()) return;
  Entries larger;
  larger.reserve(std::max<std::size_t>(kUnindexedKeys, all.capacity() * 2));
  for (auto& [name, value] : all) larger.emplace_back(name, std::move(value));
  all.swap(larger);
}

// (Re)builds the index for every key, with room for as many again.
void JsonObjectBuilder::index() {
  const Entries& all = entries();
  for (std::size_t position = hashes_.size(); position < all.size(); ++position)
    hashes_.push_back(keyedHash(all[position].first));
  std::size_t size = 16;
  while (size < all.size() * 4) size *= 2;
  slots_.assign(size, 0);
  for (std::size_t position = 0; position < all.size(); ++position) place(position);
}

void JsonObjectBuilder::place(std::size_t position) {
  const std::size_t mask = slots_.size() - 1;
  std::size_t slot = hashes_[position] & mask;
  while (slots_[slot] != 0) slot = (slot + 1) & mask;
  slots_[slot] = position + 1;
}

}  // namespace korvane
