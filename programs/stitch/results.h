// The pictures of a run on their way to the disk.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "stitch/messages.h"
#include "stitch/options.h"
#include "stitch/report.h"

namespace brantel::programs {

/// Writes mosaics and overviews. A failure is told and remembered; nothing else is given up for it. A mosaic
/// that its format cannot hold is saved as TIFF beside the place where it should be.
class Results {
  public:
    /// @param taken  the identities of all files that the run reads or writes: none of them is replaced by a
    ///               further mosaic
    Results(const Options& options, std::set<std::string> taken, Messages& messages)
        : options_(options), taken_(std::move(taken)), messages_(messages) {}

    /// Throws InputError when it is clear that the mosaic will not fit into its format.
    /// @param extent  how large it will be, if that is known
    void requireRoomFor(const std::optional<cv::Size>& extent) const;

    /// What became of the mosaic; nothing when it could not be written.
    std::optional<SavedMosaic> save(const FinishedMosaic& mosaic);

    /// Something else could not be written as it was asked for.
    void noteFailure(const std::string& text);
    bool failed() const { return failed_; }

  private:
    std::filesystem::path freeName(const std::filesystem::path& asked, std::int32_t number);
    std::filesystem::path writeSomehow(const std::filesystem::path& file, const FinishedMosaic& mosaic);
    std::filesystem::path writeAsTiff(const std::filesystem::path& file, const FinishedMosaic& mosaic,
                                      const std::string& why);
    void saveOverview(const FinishedMosaic& mosaic);

    const Options& options_;
    std::set<std::string> taken_;
    Messages& messages_;
    std::int32_t count_ = 0;  // mosaics that were to be saved
    bool failed_ = false;
};

}  // namespace brantel::programs
