// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <stop_token>

#include "base/lifetime.h"
#include "base/main_loop.h"
#include "base/serial_queue.h"
#include "media/reading/asset.h"
#include "model/capture_info.h"
#include "render/overview/overview_cache.h"
#include "render/overview/recording_overview.h"

namespace lumivastor::render {

/// Makes overviews of recordings on one thread of low priority, one after the other, and keeps them in a cache. Main
/// thread.
class OverviewMaker {
  public:
    /// Called on the main thread with all that is known so far, a few times a second while an overview is made.
    using Handler = std::function<void(std::shared_ptr<const RecordingOverview>)>;

    /// Destroy it to cancel: the handler is not called any more, and the work ends after the picture or the piece of
    /// sound that it is at. Waits for nothing.
    class Request {
      public:
        ~Request() { stop_.request_stop(); }
        Request(const Request&) = delete;
        Request& operator=(const Request&) = delete;

      private:
        friend class OverviewMaker;
        Request() = default;

        std::stop_source stop_;
        Lifetime lifetime_;
    };

    /// The loop outlives this object. Without a folder for the cache nothing is kept.
    OverviewMaker(MainLoop& loop, std::filesystem::path cacheFolder);
    /// Cancels everything, and waits for the step that is being done.
    ~OverviewMaker();

    /// Makes the overview of a recording's screen movie. Returns at once. Sound and pictures that are missing or cannot
    /// be read are missing in the overview, which is logged and not kept. The last call has a complete overview.
    [[nodiscard]] std::unique_ptr<Request> make(std::shared_ptr<const media::Asset> movie,
                                                const model::CaptureInfo& info, Handler handler);

  private:
    MainLoop& loop_;
    const OverviewCache cache_;
    std::stop_source stop_;
    SerialQueue queue_;  // last: its thread uses everything above
};

/// The same on the caller's thread, without a cache: `delivered` gets what is known so far, at the end a complete
/// overview. Stops early, without a last call, on a request. Returns whether everything could be read. For the maker,
/// benchmarks and tests.
bool makeOverview(const std::shared_ptr<const media::Asset>& movie, const model::CaptureInfo& info,
                  const std::function<bool()>& isStopped,
                  const std::function<void(const RecordingOverview&)>& delivered);

}  // namespace lumivastor::render
