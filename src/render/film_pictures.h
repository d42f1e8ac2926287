// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "base/pixel_size.h"
#include "media/region/group_encoder.h"
#include "media/writing/asset_writer.h"
#include "render/composed_frames.h"
#include "render/frame_painter.h"
#include "render/group_producer.h"

namespace lumivastor::render {

/// The pictures of a film on their way into its file. Made and destroyed on the thread of the export; `append` is the
/// video pump's.
class FilmPictures {
  public:
    enum class Pass {
        done,   // a picture was appended
        again,  // none, because memory is short: to be tried again
        end,    // there are no more
    };

    FilmPictures() = default;
    virtual ~FilmPictures() = default;
    FilmPictures(const FilmPictures&) = delete;
    FilmPictures& operator=(const FilmPictures&) = delete;

    virtual media::WriterInput& input() = 0;
    /// Appends the next picture to the input, which is ready. Throws `RecorderError`.
    virtual Pass append() = 0;
    /// Pictures appended so far.
    std::int64_t count() const { return count_; }

  protected:
    /// Throws when the writer has refused a picture.
    void countPicture(bool isTaken, const media::AssetWriter& writer);

  private:
    std::int64_t count_ = 0;
};

/// Each picture is painted and given to the writer's own encoder.
class PaintedPictures final : public FilmPictures {
  public:
    struct Options {
        std::int64_t fps = 0;
        std::int64_t total = 0;
        std::function<void(std::int64_t)> progress;  // see `GroupProducer`
    };

    /// Everything outlives it. The frames are open when pictures are appended.
    PaintedPictures(media::AssetWriter& writer, const media::VideoSettings& settings, ComposedFrames& frames,
                    Options options);

    media::WriterInput& input() override { return input_; }
    Pass append() override;

  private:
    media::AssetWriter& writer_;
    media::VideoWriterInput& input_;
    ComposedFrames& frames_;
    const Options options_;
    FramePainter painter_;
    int memoryAttempts_ = 0;
};

/// Pictures come in groups that are made or taken (group_producer.h).
class GroupedPictures final : public FilmPictures {
  public:
    GroupedPictures(media::AssetWriter& writer, std::unique_ptr<GroupProducer> producer, std::int64_t fps);

    media::WriterInput& input() override { return input_; }
    Pass append() override;

    const GroupProducer& producer() const { return *producer_; }

  private:
    media::AssetWriter& writer_;
    media::StoredWriterInput& input_;
    const std::unique_ptr<GroupProducer> producer_;
    const std::int64_t fps_;
    std::optional<media::CodedGroup> group_;
    std::size_t picture_ = 0;  // of the group, the next
};

}  // namespace lumivastor::render
