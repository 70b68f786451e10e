#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "korvane/util/json_value.h"

namespace korvane {

// Fills one JSON object key by key in time proportional to what it is given, for objects built
// from outside input (parsed text, an app's or a page's dictionary). JsonValue's own operator[]
// compares a new key with every key already there, so n keys cost n² comparisons; here a new key
// goes straight after the last one, and a repeated key is found through a hash index under a
// per-process secret, so that no input can make its keys collide.
//
// A repeated key means what it means for operator[]: the value stays at the first key's position
// and the last value written wins. The object must be changed only through this while it is in
// use.
class JsonObjectBuilder {
 public:
  // Fills `object`; anything but an object is first replaced by an empty one. Keys already in it
  // count as given.
  explicit JsonObjectBuilder(JsonValue& object);

  // The value under `key`: the one already there, else a new null after the last key. Valid until
  // the next call.
  JsonValue& operator[](std::string key);

 private:
  using Entries = JsonValue::object_t::Container;

  Entries& entries() { return *entries_; }
  void makeRoom();
  void index();
  void place(std::size_t position);

  Entries* entries_;
  std::vector<std::uint64_t> hashes_;  // each indexed key's, by position
  std::vector<std::size_t> slots_;     // open addressing: a key's position + 1, or 0 when free
};

}  // namespace korvane
