/* A host in C, which knows nothing but the one header: a scan over a picture of its own making, read back. */
#include <brantel/session.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { ROWS = 180, COLUMNS = 240, WIDTH = 900, HEIGHT = 520, ACROSS = 5, DOWN = 3, STEP_X = 120, STEP_Y = 90 };

static unsigned char picture[HEIGHT][WIDTH];
static int lines_heard = 0;

static void hear(void* user, const char* line) {
    int* count = user;
    *count += line[0] != '\0';
}

/* Blotches of several sizes, which no two places have alike. */
static void paint(void) {
    static double soft[HEIGHT][WIDTH];
    unsigned state = 12345;
    for (int size = 1; size <= 16; size *= 4)
        for (int top = 0; top < HEIGHT; top += size)
            for (int left = 0; left < WIDTH; left += size) {
                state = state * 1664525U + 1013904223U;
                for (int y = top; y < top + size && y < HEIGHT; ++y)
                    for (int x = left; x < left + size && x < WIDTH; ++x) soft[y][x] += (double)(state >> 24);
            }
    for (int y = 0; y < HEIGHT; ++y)
        for (int x = 0; x < WIDTH; ++x) picture[y][x] = (unsigned char)(20 + soft[y][x] * 0.27);
}

static int fail(const char* what, const brantel_session* session, brantel_status status) {
    fprintf(stderr, "%s: %s (%s)\n", what, brantel_status_text(status), brantel_session_error(session));
    return 1;
}

/* A serpentine: to the right, one row down, to the left. */
static int scan(brantel_session* session) {
    for (int i = 0; i < ACROSS * DOWN; ++i) {
        const int row = i / ACROSS;
        const int column = row % 2 == 0 ? i % ACROSS : ACROSS - 1 - i % ACROSS;
        brantel_input input = {sizeof input, 0, WIDTH, 1000 + i, 0, 0, 0};
        brantel_answer answer;
        brantel_status status;
        memset(&answer, 0, sizeof answer);
        answer.size = sizeof answer;
        status = brantel_session_add(session, &picture[row * STEP_Y][column * STEP_X], &input, &answer);
        if (status != BRANTEL_OK) return fail("add", session, status);
        if (answer.state != BRANTEL_PLACED || abs(answer.x - column * STEP_X) > 2 || abs(answer.y - row * STEP_Y) > 2) {
            fprintf(stderr, "frame %d is %s at %d, %d: %s\n", i, brantel_state_text(answer.state), answer.x, answer.y,
                    brantel_reason_text(answer.reason));
            return 1;
        }
    }
    return 0;
}

/* The first frame's place holds its pixels where no other frame came. */
static int check(brantel_session* session) {
    unsigned char part[40][50];
    unsigned char small[ROWS / 4][COLUMNS / 4];
    brantel_frame frame;
    brantel_map map;
    brantel_status status;
    memset(&frame, 0, sizeof frame);
    frame.size = sizeof frame;
    memset(&map, 0, sizeof map);
    map.size = sizeof map;
    status = brantel_session_frame(session, 0, &frame);
    if (status != BRANTEL_OK || frame.tag != 1000) return fail("frame", session, status);
    status = brantel_session_map(session, frame.map, &map);
    if (status != BRANTEL_OK || map.frames != ACROSS * DOWN) return fail("map", session, status);
    status = brantel_session_read(session, 1, 10, 10, 50, 40, 1, part, 50);
    if (status != BRANTEL_OK) return fail("read", session, status);
    for (int y = 0; y < 40; ++y)
        if (memcmp(part[y], &picture[10 + y][10], 50) != 0) return fail("pixels", session, status);
    status = brantel_session_read(session, 1, map.x, map.y, COLUMNS / 4, ROWS / 4, 4, small, 0);
    return status == BRANTEL_OK && small[10][10] != 0 ? 0 : fail("reduction", session, status);
}

int main(void) {
    brantel_settings settings;
    brantel_session* session = NULL;
    brantel_status status;
    int failed;
    paint();
    memset(&settings, 0, sizeof settings);
    settings.size = sizeof settings;
    status = brantel_default_settings(&settings);
    settings.columns = COLUMNS;
    settings.rows = ROWS;
    settings.channels = 1;
    settings.on_line = hear;
    settings.user = &lines_heard;
    if (status == BRANTEL_OK) status = brantel_session_open(&settings, &session);
    if (status != BRANTEL_OK) return fail("open", session, status);
    failed = scan(session) || check(session) || lines_heard == 0;
    brantel_session_close(session);
    printf("brantel %s: %s\n", brantel_version(), failed ? "failed" : "ok");
    return failed;
}
