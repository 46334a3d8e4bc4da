#include "scan_solution.h"

#include <algorithm>
#include <map>
#include <optional>

#include "light/solve_light.h"
#include "positions/join_groups.h"
#include "positions/measure_pairs.h"
#include "positions/overlaps.h"
#include "positions/solve_positions.h"

namespace brantel::render {

namespace {

std::vector<cv::Point2d> placesOf(const std::vector<ScanFrame>& frames) {
    std::vector<cv::Point2d> places;
    places.reserve(frames.size());
    for (const ScanFrame& frame : frames) places.push_back(frame.place);
    return places;
}

/// Groups become pictures in the order of their first frames.
void fillFrames(const std::vector<ScanFrame>& frames, const std::vector<cv::Point2d>& places,
                ScanSolution& solution) {
    std::map<std::int32_t, std::int32_t> pictures;
    solution.frames.resize(frames.size());
    for (std::size_t k = 0; k < frames.size(); ++k) {
        if (!frames[k].wanted) continue;
        solution.frames[k].picture =
            pictures.emplace(frames[k].group, static_cast<std::int32_t>(pictures.size()) + 1).first->second;
        solution.frames[k].place = places[k];
    }
    for (const MeasuredPair& pair : solution.pairs) {
        if (pair.dropped) continue;
        ++solution.frames[pair.first].evidence;
        ++solution.frames[pair.second].evidence;
    }
}

/// Frames with two witnesses or more, none of which the others agree with.
std::vector<std::size_t> contradictedOf(const ScanSolution& solution) {
    std::vector<int> dropped(solution.frames.size(), 0);
    for (const MeasuredPair& pair : solution.pairs)
        if (pair.dropped) {
            ++dropped[pair.first];
            ++dropped[pair.second];
        }
    std::vector<std::size_t> frames;
    for (std::size_t k = 0; k < dropped.size(); ++k)
        if (dropped[k] >= 2 && solution.frames[k].evidence == 0) frames.push_back(k);
    return frames;
}

void settlePositions(const std::vector<ScanFrame>& frames, std::size_t compared, ScanSolution& solution) {
    std::vector<cv::Point2d> places = placesOf(frames);
    solvePositions(frames, solution.pairs, places);
    fillFrames(frames, places, solution);
    solution.contradicted = contradictedOf(solution);
    Agreement& agreement = solution.agreement;
    agreement.pairs = compared;
    agreement.measured = solution.pairs.size();
    agreement.dropped = static_cast<std::size_t>(std::count_if(
        solution.pairs.begin(), solution.pairs.end(), [](const MeasuredPair& pair) { return pair.dropped; }));
    agreement.before = disagreement(solution.pairs, placesOf(frames));
    agreement.after = disagreement(solution.pairs, places);
}

void settleLight(LightEvidence& evidence, const SolveSettings& settings, ScanSolution& solution) {
    std::optional<double> untouched;
    FlatField given;
    if (settings.flatField == FlatFieldChoice::given) {
        untouched = solveLight(evidence, false, false).seamsBefore;
        given = fieldFrom(settings.givenField, settings.frameSize, evidence.channels);
        takeOut(given, evidence);
    }
    LightSolution light =
        solveLight(evidence, settings.flatField == FlatFieldChoice::automatic, settings.gains);
    solution.gains = std::move(light.gains);
    solution.light = settings.flatField == FlatFieldChoice::given ? std::move(given) : std::move(light.field);
    solution.lightRemark = light.remark;
    solution.agreement.seamsBefore = untouched.value_or(light.seamsBefore);
    solution.agreement.seamsAfter = light.seamsAfter;
}

}  // namespace

ScanSolution solveScan(const std::vector<ScanFrame>& known, const SolveSettings& settings,
                       FrameReader& reader, const Progress& progress) {
    std::vector<ScanFrame> frames = known;
    joinGroups(frames, settings.frameSize, reader, progress);
    const auto pairs = overlappingPairs(frames, settings.frameSize);
    Measurements measured = measurePairs(frames, settings.frameSize, pairs, reader, progress);
    for (const std::size_t frame : measured.unreadable) frames[frame].wanted = false;
    ScanSolution solution;
    solution.unreadable = std::move(measured.unreadable);
    solution.pairs = std::move(measured.pairs);
    settlePositions(frames, pairs.size(), solution);
    settleLight(measured.light, settings, solution);
    return solution;
}

}  // namespace brantel::render
