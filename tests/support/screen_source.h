// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/pixel_rect.h"
#include "base/pixel_size.h"
#include "base/unique_descriptor.h"

namespace lumivastor {

/// A compositor's side of a shared screen for tests: a node on a PipeWire server that sends what a test says, when it
/// says so, and never anything else. Works on a thread of its own. Any thread.
class ScreenSource {
  public:
    struct Options {
        PixelSize size{320, 200};
        bool isRedFirst = false;  // RGBA in place of BGRx
        bool hasDamage = true;
        bool hasCrop = true;
        bool hasCursor = true;
        /// Whether pixels are in memory of its own, which it can shrink, in place of the server's.
        bool ownsMemory = false;
    };

    /// What a buffer is to hold. The screen behind it keeps its content from picture to picture.
    struct Picture {
        std::uint32_t colour = 0;  // 0xRRGGBB
        /// Where the colour is painted, in the buffer's pixels, and what is told as damage. nullopt: everywhere, and
        /// nothing is told.
        std::optional<std::vector<PixelRect>> damage;
        std::optional<PixelRect> crop;
        /// The stamp, in seconds before the moment at which it is sent. nullopt: no stamp.
        std::optional<double> age = 0;
        bool isCorrupt = false;
        /// Numbers that do not fit the buffer, in place of the right ones.
        std::optional<std::uint32_t> chunkOffset;
        std::optional<std::uint32_t> chunkSize;
        std::optional<std::int32_t> stride;
        /// The buffer's own memory is cut to this many bytes before it is sent, until it is sent again.
        std::optional<std::size_t> keptBytes;
        /// Moves the pointer with the picture, in place of a buffer of its own.
        std::optional<PixelRect> pointerTo;  // only its corner counts
    };

    /// What was sent, on the host clock.
    struct Sent {
        enum class Kind { picture, corrupt, cursor } kind = Kind::picture;
        double hostSeconds = 0;
        std::uint32_t colour = 0;
        int x = 0;  // of the pointer
        int y = 0;
    };

    /// Returns when the node exists. Throws std::runtime_error without a server at the socket `remote`.
    ScreenSource(const std::string& remote, const Options& options);
    ~ScreenSource();
    ScreenSource(const ScreenSource&) = delete;
    ScreenSource& operator=(const ScreenSource&) = delete;

    std::uint32_t node() const;
    /// Whether somebody receives what is sent.
    bool isStreaming() const;
    /// The highest rate that was agreed on; 0 before.
    int maximumRate() const;

    /// False when no buffer is free or nobody receives; nothing is sent then.
    bool send(const Picture& picture);
    /// Sends pictures `rate` times a second, the first of this colour, each of one more in blue (behind 255 comes 0);
    /// a rate of 0 ends it.
    void play(std::uint32_t firstColour, int rate);

    /// Each sends a buffer without pixels, unless nobody receives.
    bool movePointer(int x, int y);
    bool setShape(int width, int height, int hotSpotX, int hotSpotY, std::uint32_t colour);
    bool hideShape();
    bool removePointer();

    /// Another size of the whole screen, which becomes black. Pictures can be sent when the format is agreed on again.
    void resize(PixelSize size);
    /// Like a screen that is switched off.
    void pause(bool isPaused);
    /// The node goes.
    void end();

    std::vector<Sent> sent() const;
    /// The screen's pixel now, 0xRRGGBB.
    std::uint32_t pixel(int x, int y) const;

  private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

/// A connection to the socket of that path; not open when nobody listens there.
UniqueDescriptor connectedSocket(const std::string& path);

}  // namespace lumivastor
