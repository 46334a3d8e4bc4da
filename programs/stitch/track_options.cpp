// How frames are put together, and what is known about where they lie.
#include <tuple>

#include "stitch/option_groups.h"
#include "stitch/option_values.h"

namespace brantel::programs {

void describeTrack(CLI::App& app, Options& options) {
    SessionSettings& session = options.session;
    app.add_flag_callback(
        "--no-search", [&session] { session.search = false; },
        "Compare every frame with the last one placed and with no other, by corners alone");
    app.add_option_function<std::string>(
           "--limit",
           [&session](const std::string& text) {
               const auto limit = parseLimit(text);
               if (!limit)
                   throw CLI::ValidationError("--limit",
                                              text +
                                                  " is not understood; it takes two numbers with a "
                                                  "product below 2147483648, such as 20000,20000");
               std::tie(session.limitA, session.limitB) = *limit;
           },
           "A mosaic ends, and the next one begins with its last frame, when its canvas has A x B pixels; "
           "default "
           "20000,20000. A new canvas has 6000 x 6000")
        ->type_name("A,B");
    app.add_option_function<std::string>(
           "--on-lost",
           [&options](const std::string& way) {
               options.onLost = way == "stop"      ? OnLost::stop
                                : way == "restart" ? OnLost::restart
                                                   : OnLost::skip;
           },
           "When a frame joins no other: skip it (default; it waits for one that it joins, unless "
           "--no-search is "
           "given), restart (save the mosaics and begin the next with this frame) or stop")
        ->type_name("WAY")
        ->check(CLI::IsMember({"skip", "restart", "stop"}).description(""));
}

void describeTests(CLI::App& app, Options& options) {
    SessionSettings& session = options.session;
    app.add_option("--density", session.densityLevel,
                   "Corners looked for per frame: 150 for 0, 400 for 8, 650 for 16 (31.25 a step). More find "
                   "the offset in thinner or fainter overlaps; the time for matching grows with the square")
        ->type_name("LEVEL")
        ->check(CLI::Range(-4, 200))
        ->capture_default_str();
    app.add_option_function<std::string>(
           "--mode",
           [&session](const std::string& mode) {
               session.mainMode = mode == "motion" || mode == "1" ? 1 : 0;
           },
           "What a frame must pass: brightness (0, default; compares the overlap, until the first frame has "
           "passed) or motion (1; compares whole frames)")
        ->type_name("MODE")
        ->check(CLI::IsMember({"brightness", "motion", "0", "1"}).description(""));
    app.add_flag_callback(
        "--static", [&session] { session.staticFlag = 1; },
        "Strict thresholds: 40 and 30 grey levels for brightness, 5 for motion (else 128 and 255)");
}

void describePositions(CLI::App& app, Options& options) {
    auto* step =
        addParsed(app, "--expected", options.expected, parseShift, "-120,4",
                  "The camera moves by about this much from frame to frame (pixels, right and down are "
                  "positive): every frame is looked for there first")
            ->type_name("DX,DY");
    auto* positions =
        app.add_option(
               "--positions", options.positions,
               "Stage positions: a CSV file with the columns file, x, y (top-left corner in pixels; "
               "without file: in the order of the frames) or file, x_um, y_um (micrometres). A frame is "
               "looked for there first, and where the pictures say otherwise, they are believed")
            ->type_name("FILE.csv")
            ->excludes(step);
    app.add_option("--pixel-size", options.pixelSize, "How large a pixel is, for positions in micrometres")
        ->type_name("UM")
        ->check(CLI::Range(1e-6, 1e6).description(""))
        ->needs(positions);
    addParsed(app, "--grid", options.grid, parseGrid, "5x3,snake,overlap=20",
              "The frames were taken in rows and columns, row by row: serves as positions. With snake every "
              "second row runs back; the overlap is in percent, 20 unless given")
        ->type_name("COLUMNSxROWS[,snake][,overlap=PERCENT]")
        ->excludes(step)
        ->excludes(positions);
    app.add_flag("--trust-positions", options.session.trustPositions,
                 "A frame whose picture says nothing is placed where positions or grid say");
    app.add_flag("--flip-x", options.flipX, "The x axis of positions or grid points to the left");
    app.add_flag("--flip-y", options.flipY, "The y axis of positions or grid points up");
}

}  // namespace brantel::programs
