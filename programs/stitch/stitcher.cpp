#include "stitch/stitcher.h"

#include "pictures/picture_bytes.h"

namespace brantel::programs {

void Stitcher::take(Frame frame) {
    Candidate current;
    current.report.number = ++taken_;
    current.report.name = frame.name;
    current.report.origin = frame.origin;
    current.report.detail = frame.problem;
    current.report.beyond = frame.beyond;
    current.frame = std::move(frame);
    if (!isUsable(current)) {
        tell(current.report);
        return;
    }
    current.place = expectation_.placeOf(current.frame);
    if (expectation_.measured()) current.report.stage = current.place;
    if (track_)
        addTo(current);
    else if (reference_)
        tryToBegin(current);
    else
        beginWith(std::move(current));
}

/// The first frame that can be read decides on the size.
bool Stitcher::isUsable(Candidate& current) {
    const cv::Mat& image = current.frame.image;
    FrameReport& report = current.report;
    if (image.empty()) {
        report.reason = current.frame.outOfMemory ? Reason::outOfMemory : Reason::unreadable;
        return false;
    }
    if (!geometry_) geometry_ = FrameGeometry{image.rows, image.cols, image.channels()};
    if (image.rows == geometry_->rows && image.cols == geometry_->columns &&
        image.channels() == geometry_->channels)
        return true;
    report.reason = Reason::wrongSize;
    report.detail = "it has " + sizeText(image.size()) + " pixels, the first frame has " +
                    sizeText({geometry_->columns, geometry_->rows});
    return false;
}

std::unique_ptr<Track> Stitcher::newTrack() {
    const bool testFrames = settings_.search || settings_.mainMode != 0 || !testPassed_;
    return std::make_unique<Track>(std::make_unique<Session>(settings_, *geometry_, testFrames, log_),
                                   mosaics_, tell_);
}

void Stitcher::tell(FrameReport& report) {
    tell_(report);
    report.before = saidBy(report);
}

/// Takes its place as the first frame of the next mosaic.
void Stitcher::beginWith(Candidate candidate) {
    const bool told = candidate.report.placed;  // in the mosaic before
    refused_.reset();
    if (!settings_.search) {
        if (!told) {
            candidate.report.reason = Reason::noPartner;
            candidate.report.waiting = true;
            tell(candidate.report);
        }
        reference_ = std::move(candidate);
        return;
    }
    track_ = newTrack();
    if (track_->add(candidate, PlaceUse::asGiven)) {
        if (!told) track_->keep(candidate.report);
        track_->tellChanges();
        return;
    }
    track_.reset();
    if (!told) tell(candidate.report);
}

void Stitcher::addTo(Candidate& current) {
    const bool added = tryFrame(*track_, current);
    const Reason reason = current.report.reason;
    const bool failed = reason == Reason::brightness || reason == Reason::motion;
    const bool unfit = failed && !track_->hasMosaic();
    const bool begun = unfit && tryRefused(current);
    settle(current, added);
    if (!unfit || begun) return;
    current.report.before = saidBy(current.report);
    refused_ = std::move(current);
}

void Stitcher::tryToBegin(Candidate& current) {
    bool begun = tryPair(*reference_, current);
    const bool slow = current.report.reason == Reason::shiftTooSmall;
    begun = begun || (!slow && tryRefused(current));
    if (begun) {
        reference_.reset();
        settle(current, true);
        return;
    }
    const bool lost = isLost(current.report.reason);
    if (lost && onLost_ == OnLost::restart) {
        beginWith(std::move(current));
        return;
    }
    tell(current.report);
    stopped_ = lost && onLost_ == OnLost::stop;
    if (!slow) refused_ = std::move(current);
}

/// The first frame may be the bad one, so the last frame that did not fit it is tried as well.
bool Stitcher::tryRefused(Candidate& current) {
    if (!refused_) return false;
    Candidate again = current;
    if (!tryPair(*refused_, again)) return false;
    current = std::move(again);
    return true;
}

/// Every pair begins afresh: the motion test compares with the last frame seen, which may have been a bad one.
bool Stitcher::tryPair(const Candidate& first, Candidate& second) {
    auto track = newTrack();
    Candidate opening = first;
    if (!track->add(opening, PlaceUse::none)) {
        second.report.reason = opening.report.reason;
        second.report.detail = opening.report.detail;
        return false;
    }
    if (!first.report.placed) track->keep(opening.report);
    if (!tryFrame(*track, second) || !second.report.placed) return false;
    if (track_) endMosaics();  // there is none, but frames that wait
    track_ = std::move(track);
    refused_.reset();
    return true;
}

/// False when the library failed.
bool Stitcher::tryFrame(Track& track, Candidate& current) {
    current.report.expected = shiftBetween(track.lastPlace(), current.place);
    return settings_.search ? track.add(current, PlaceUse::asGiven) : follow(track, current);
}

/// Tries one expectation after the other until one registers. What does not changes nothing, so trying again is safe.
bool Stitcher::follow(Track& track, Candidate& current) {
    FrameReport& report = current.report;
    bool added = false;
    bool first = true;
    for (const auto& expected : expectation_.attempts(report.expected, current.frame.image.size())) {
        const Reason before = report.reason;
        added = track.add(current, expected ? PlaceUse::asGiven : PlaceUse::none);
        report.usedExpected = expected.has_value();
        const bool registered =
            added && report.reason != Reason::tooFewCorners && report.reason != Reason::tooFewMatches;
        const bool tested = registered && report.reason != Reason::brightness;
        testPassed_ = testPassed_ || tested;
        if (registered && report.reason != Reason::contradicted) break;
        // Of two failures the whole frames' one tells more: a narrow overlap seldom has corners enough.
        if (expected && !first) report.reason = before;
        first = false;
    }
    return added;
}

/// A frame that was lost is left to the next mosaic or told; one that has filled its mosaic begins the next one, so that
/// the two can be joined.
void Stitcher::settle(Candidate& current, bool added) {
    const bool lost = isLost(current.report.reason);
    if (lost && onLost_ == OnLost::restart) {
        endMosaics();
        beginWith(std::move(current));
        return;
    }
    if (added) track_->keep(current.report);
    track_->tellChanges();
    if (!added) tell(current.report);
    stopped_ = lost && onLost_ == OnLost::stop;
    const std::int64_t limit = std::int64_t{settings_.limitA} * settings_.limitB;
    if (!current.report.placed || !track_->hasReached(limit)) return;
    endMosaics();
    beginWith(std::move(current));
}

void Stitcher::saveMosaics() {
    if (!track_) return;
    for (const FinishedMosaic& mosaic : track_->mosaics()) save_(mosaic);
}

void Stitcher::endMosaics() {
    track_->endWaiting();
    track_->tellChanges();
    saveMosaics();
    track_.reset();
}

}  // namespace brantel::programs
