// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace lumivastor::model {

/// Writes one JSON document piece by piece in the style of all our documents: two spaces of indentation for each level,
/// `"key" : value`, empty lists as `[]`. Numbers have the fewest digits that read back as the same double; whole ones
/// have no fraction. Invalid UTF-8 becomes replacement characters. Keys keep the caller's order.
class JsonWriter {
  public:
    /// Receives the pieces of the document in order.
    using Sink = std::function<void(std::string_view)>;

    explicit JsonWriter(Sink sink);

    void beginObject();
    void endObject();
    void beginArray();
    void endArray();
    void key(std::string_view name);

    /// Throws `RecorderError` for infinities and NaN, which JSON cannot express.
    void number(double value);
    void integer(std::int64_t value);
    void boolean(bool value);
    void text(std::string_view value);

    /// Passes the rest to the sink. The document must be complete.
    void finish();

  private:
    void beginValue();
    void open(char bracket);
    void close(char bracket);
    void newLine();
    void flushIfLarge();

    Sink sink_;
    std::string pending_;
    std::vector<bool> hasItems_;  // for each open list or object, whether it has an item
    bool afterKey_ = false;
};

}  // namespace lumivastor::model
