/* A session in C: joins the frames given as PGM files (P5, 8 bits) and writes the picture to map.pgm. */
#include <brantel/session.h>
#include <stdio.h>
#include <stdlib.h>

/* The pixels of a file, to be freed; NULL when it is none of the kind. */
static unsigned char* load(const char* name, int* columns, int* rows) {
    unsigned char* pixels = NULL;
    FILE* file = fopen(name, "rb");
    if (file == NULL) return NULL;
    if (fscanf(file, "P5 %d %d 255", columns, rows) == 2 && *columns > 0 && *rows > 0 && fgetc(file) != EOF) {
        const size_t size = (size_t)*columns * (size_t)*rows;
        pixels = malloc(size);
        if (pixels != NULL && fread(pixels, 1, size, file) != size) { free(pixels); pixels = NULL; }
    }
    fclose(file);
    return pixels;
}

static int save(const brantel_session* session, int number) {
    brantel_map map = {sizeof map};
    if (brantel_session_map(session, number, &map) != BRANTEL_OK || map.width == 0) return 0;
    unsigned char* pixels = malloc((size_t)map.width * (size_t)map.height);
    if (pixels == NULL) return 0;
    int saved = brantel_session_read(session, number, map.x, map.y, map.width, map.height, 1, pixels, 0) == BRANTEL_OK;
    FILE* file = saved ? fopen("map.pgm", "wb") : NULL;
    if (file != NULL) fprintf(file, "P5 %d %d 255\n", map.width, map.height);
    saved = file != NULL && fwrite(pixels, (size_t)map.width, (size_t)map.height, file) == (size_t)map.height;
    if (file != NULL && fclose(file) != 0) saved = 0;
    free(pixels);
    return saved;
}

int main(int count, char** names) {
    brantel_settings settings = {sizeof settings};
    brantel_session* session = NULL;
    brantel_status status = brantel_default_settings(&settings);
    settings.channels = 1;
    for (int i = 1; i < count && status == BRANTEL_OK; ++i) {
        brantel_answer answer = {sizeof answer};
        int columns = 0, rows = 0;
        unsigned char* pixels = load(names[i], &columns, &rows);
        if (session == NULL && pixels != NULL) {
            settings.columns = columns;
            settings.rows = rows;
            status = brantel_session_open(&settings, &session);
        }
        const int fits = pixels != NULL && columns == settings.columns && rows == settings.rows;
        if (fits && status == BRANTEL_OK) status = brantel_session_add(session, pixels, NULL, &answer);
        free(pixels);
        if (!fits) printf("%s: not used\n", names[i]);
        else printf("%s: %s at %d, %d\n", names[i], brantel_state_text(answer.state), answer.x, answer.y);
    }
    if (status != BRANTEL_OK) fprintf(stderr, "%s\n", brantel_status_text(status));
    const int saved = session != NULL && save(session, 1);
    brantel_session_close(session);
    return status == BRANTEL_OK && saved ? 0 : 1;
}
