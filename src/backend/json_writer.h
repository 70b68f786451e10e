#pragma once

#include <string>
#include <string_view>

namespace korvane::json {

// Appends compact JSON directly to a string, for hot paths where building a document first
// would cost more than the data. The caller keeps the structure well formed.
class JsonWriter {
 public:
  explicit JsonWriter(std::string& out) : out_(out) {}

  void beginObject() { open('{'); }
  void endObject() { close('}'); }
  void beginArray() { open('['); }
  void endArray() { close(']'); }
  void key(std::string_view name) {
    separate();
    string(name);
    out_ += ':';
    afterKey_ = true;
  }
  // Quoted and escaped; bytes that are not UTF-8 become U+FFFD.
  void value(std::string_view text) {
    separate();
    string(text);
  }
  // Shortest text that reads back as the same number.
  void number(double value);
  void field(std::string_view name, std::string_view text) {
    key(name);
    value(text);
  }

 private:
  void open(char bracket) {
    separate();
    out_ += bracket;
    first_ = true;
  }
  void raw(std::string_view json) {
    separate();
    out_ += json;
  }
  void close(char bracket) {
    out_ += bracket;
    first_ = false;
  }
  void separate() {
    if (afterKey_) {
      afterKey_ = false;
      return;
    }
    if (!first_) out_ += ',';
    first_ = false;
  }
  void string(std::string_view text);

  std::string& out_;
  bool first_ = true;
  bool afterKey_ = false;
};

}  // namespace korvane::json
