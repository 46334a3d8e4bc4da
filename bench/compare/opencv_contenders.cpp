// What a user would otherwise write on OpenCV.
#include <opencv2/features2d.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/stitching.hpp>
#include <opencv2/stitching/detail/blenders.hpp>

#include "compare/contenders.h"

namespace brantel::bench {

namespace {

cv::Mat greyOf(const cv::Mat& frame) {
    if (frame.channels() == 1) return frame;
    cv::Mat grey;
    cv::cvtColor(frame, grey, cv::COLOR_BGR2GRAY);
    return grey;
}

struct OrbFeatures {
    std::vector<cv::KeyPoint> points;
    cv::Mat descriptors;
};

/// The shift that most matches agree on within 4 pixels, every match being tried.
cv::Point consensus(const std::vector<cv::Point2f>& shifts) {
    std::size_t best = 0;
    cv::Point2f winner(0, 0);
    for (const cv::Point2f& candidate : shifts) {
        std::size_t votes = 0;
        for (const cv::Point2f& shift : shifts) votes += cv::norm(shift - candidate) < 4.0 ? 1 : 0;
        if (votes > best) {
            best = votes;
            winner = candidate;
        }
    }
    return {cvRound(winner.x), cvRound(winner.y)};
}

cv::Point shiftBetween(const OrbFeatures& previous, const OrbFeatures& current) {
    std::vector<std::vector<cv::DMatch>> pairs;
    cv::BFMatcher(cv::NORM_HAMMING).knnMatch(current.descriptors, previous.descriptors, pairs, 2);
    std::vector<cv::Point2f> shifts;
    for (const auto& pair : pairs)
        if (pair.size() == 2 && pair[0].distance < 0.75F * pair[1].distance)
            shifts.push_back(previous.points[pair[0].trainIdx].pt - current.points[pair[0].queryIdx].pt);
    return consensus(shifts);
}

/// Correlation coefficient of the two frames where they overlap under a shift; -1 for a thin overlap.
double correlation(const cv::Mat& previous, const cv::Mat& current, cv::Point shift) {
    const cv::Rect whole(cv::Point(0, 0), previous.size());
    const cv::Rect there = whole & (whole + shift);
    if (there.width < 16 || there.height < 16) return -1;
    const cv::Mat a = previous(there) - cv::mean(previous(there));
    const cv::Mat b = current(there - shift) - cv::mean(current(there - shift));
    return a.dot(b) / (cv::norm(a) * cv::norm(b) + 1e-9);
}

}  // namespace

Outcome runOrb(const Scan& scan, bool blend) {
    Outcome outcome;
    outcome.right = 1;
    const cv::Ptr<cv::ORB> orb = cv::ORB::create(1000);
    cv::detail::FeatherBlender blender;
    const cv::Mat mask(scan.frameSize(), CV_8U, cv::Scalar(255));
    const auto feed = [&](const cv::Mat& frame, cv::Point at) {
        cv::Mat colour;
        cv::Mat wide;
        if (frame.channels() == 1) cv::cvtColor(frame, colour, cv::COLOR_GRAY2BGR);
        (frame.channels() == 1 ? colour : frame).convertTo(wide, CV_16S);
        blender.feed(wide, mask, at);
    };
    const auto describe = [&orb](const cv::Mat& frame) {
        OrbFeatures features;
        orb->detectAndCompute(greyOf(frame), cv::noArray(), features.points, features.descriptors);
        return features;
    };
    const Stopwatch whole;
    if (blend) blender.prepare(scan.extent());  // the truth is told here: its canvas cannot grow
    OrbFeatures previous = describe(scan.frames[0]);
    cv::Point at = scan.spots[0];
    if (blend) feed(scan.frames[0], at);
    for (std::size_t i = 1; i < scan.frames.size(); ++i) {
        const Stopwatch watch;
        OrbFeatures current = describe(scan.frames[i]);
        const cv::Point step = shiftBetween(previous, current);
        at += step;
        if (blend && (cv::Rect(at, scan.frameSize()) & scan.extent()) == cv::Rect(at, scan.frameSize()))
            feed(scan.frames[i], at);
        watch.addFrame(outcome);
        if (isRight(step, scan.step(i))) ++outcome.right;
        previous = std::move(current);
    }
    if (blend) {
        cv::Mat result;
        cv::Mat resultMask;
        blender.blend(result, resultMask);
        outcome.note = "picture only after the last frame";
    }
    whole.endScan(outcome);
    return outcome;
}

Outcome runPhase(const Scan& scan) {
    Outcome outcome;
    outcome.right = 1;
    const Stopwatch whole;
    cv::Mat previous;
    greyOf(scan.frames[0]).convertTo(previous, CV_32F);
    for (std::size_t i = 1; i < scan.frames.size(); ++i) {
        const Stopwatch watch;
        cv::Mat current;
        greyOf(scan.frames[i]).convertTo(current, CV_32F);
        const cv::Point2d found = cv::phaseCorrelate(current, previous);
        const int x = cvRound(found.x);
        const int y = cvRound(found.y);
        cv::Point step(x, y);
        double best = -2;
        for (const int sx : {x, x < 0 ? x + scan.setup.cols : x - scan.setup.cols})
            for (const int sy : {y, y < 0 ? y + scan.setup.rows : y - scan.setup.rows}) {
                const double score = correlation(previous, current, {sx, sy});
                if (score > best) {
                    best = score;
                    step = {sx, sy};
                }
            }
        watch.addFrame(outcome);
        if (isRight(step, scan.step(i))) ++outcome.right;
        previous = current;
    }
    whole.endScan(outcome);
    return outcome;
}

Outcome runStitcher(const Scan& scan) {
    Outcome outcome;
    const Stopwatch whole;
    const cv::Ptr<cv::Stitcher> stitcher = cv::Stitcher::create(cv::Stitcher::SCANS);
    cv::Mat result;
    std::vector<cv::Mat> frames = scan.frames;
    const cv::Stitcher::Status status = stitcher->stitch(frames, result);
    whole.endScan(outcome);
    outcome.note = "all frames at once";
    outcome.right = 0;
    if (status != cv::Stitcher::OK) {
        outcome.note = "failed with status " + std::to_string(static_cast<int>(status));
        return outcome;
    }
    const std::vector<cv::detail::CameraParams> cameras = stitcher->cameras();
    const std::vector<int> used = stitcher->component();
    const auto placeOf = [&](std::size_t k) {
        const cv::Mat& h = cameras[k].R;
        // the transformation leads from the mosaic to the frame: its shift is the frame's place turned round
        return cv::Point2d(h.at<float>(0, 2), h.at<float>(1, 2)) * (-1.0 / stitcher->workScale());
    };
    if (!used.empty()) outcome.right = 1;
    for (std::size_t k = 1; k < used.size(); ++k) {
        if (used[k] != used[k - 1] + 1) continue;
        const cv::Point2d step = placeOf(k) - placeOf(k - 1);
        if (isRight({cvRound(step.x), cvRound(step.y)}, scan.step(static_cast<std::size_t>(used[k]))))
            ++outcome.right;
    }
    return outcome;
}

}  // namespace brantel::bench
