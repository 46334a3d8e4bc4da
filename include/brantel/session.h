/// @file session.h
/// Sessions: live mosaicking for hosts of every language. Plain C, no other library's headers.
///
/// A host opens a session for frames of one kind, adds frames as the camera delivers them and learns of each where it
/// lies and what changed in the picture; it reads any part of the picture whenever it likes. Positions from a stage may
/// be given and are not needed: a session estimates every shift from the pictures, compares a frame with earlier ones
/// when it does not join the last one, lets frames wait that nothing joins yet, and joins pieces of the picture when a
/// frame connects them.
///
/// @par Maps and coordinates
/// A map is one connected picture. Its coordinates are pixels, x to the right, y down; (0, 0) is the top-left pixel of
/// the frame that began it, so coordinates may be negative and do not change when the picture grows in any direction. A
/// session begins a second map when two frames join each other but nothing before them. When a later frame connects two
/// maps, the smaller one moves over into the larger one: its number goes out of use and its frames' positions change,
/// which the answer says (@ref BRANTEL_MAPS_JOINED).
///
/// @par Frames
/// 8 bits per sample, 1 channel (grey) or 3 channels (blue, green, red, interleaved), rows top to bottom. A sample of 0
/// in all channels means "empty" in a map. Frames are read during the call only and never written to; the first frame
/// of a map enters it with its zero samples raised to 1, others as they are.
///
/// @par Threads
/// Any number of sessions may live in a process, each with two worker threads of its own. Each session is to be used by
/// one thread at a time; a call on a session in use (by another thread, or by a callback of its own) is refused with
/// @ref BRANTEL_IN_USE and changes nothing. Different sessions share nothing. In a forked child the parent's sessions
/// refuse everything but being closed with @ref BRANTEL_FORKED.
///
/// @par Errors
/// Functions return a status; @ref brantel_session_error says more. After a failed call the session may be used as
/// before; a frame that could not be added may be added again. No exception and no exit leaves the library. Nothing is
/// ever written to standard output, and neither standard input nor any file is read.
///
/// @par Versions
/// Every struct begins with its size, which the caller sets to sizeof before the call: fields that a caller compiled
/// against an older header does not know are left out, with their defaults on the way in.
///
/// The same frames, settings and positions give the same answers and the same bytes on every machine.
#ifndef BRANTEL_SESSION_H
#define BRANTEL_SESSION_H

#include <stdint.h>

#if defined(__GNUC__) && !defined(_WIN32)
#define BRANTEL_SESSION_API __attribute__((visibility("default")))
#else
#define BRANTEL_SESSION_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

// Names as C writes them.
// NOLINTBEGIN(readability-identifier-naming)

/// A session. Made by @ref brantel_session_open, ended by @ref brantel_session_close.
typedef struct brantel_session brantel_session;

/// What a call came to; one of the values below.
typedef int32_t brantel_status;
enum {
    BRANTEL_OK = 0,
    BRANTEL_NULL_ARGUMENT = 1,  ///< a pointer that must not be null is
    BRANTEL_BAD_STRUCT_SIZE =
        2,  ///< a struct's size field is too small, or the caller uses fields that are not known
    BRANTEL_BAD_FRAME_SIZE = 3,  ///< columns, rows or channels cannot be used
    BRANTEL_BAD_STRIDE = 4,      ///< a stride is shorter than a row
    BRANTEL_BAD_SETTING = 5,     ///< another setting is out of its range
    BRANTEL_BAD_POSITION = 6,    ///< a position or its uncertainty is not a number or out of its range
    BRANTEL_NO_SUCH_FRAME = 7,   ///< no frame has this index
    BRANTEL_NO_SUCH_MAP = 8,     ///< no map has or ever had this number
    BRANTEL_BAD_RECTANGLE = 9,   ///< a rectangle is empty or leaves the range of coordinates
    BRANTEL_BAD_REDUCTION = 10,  ///< a reduction factor is not a power of two in its range
    BRANTEL_NO_MEMORY = 11,      ///< memory was short
    BRANTEL_NO_THREADS = 12,     ///< the system gave no threads
    BRANTEL_IN_USE = 13,         ///< another call on this session has not returned yet
    BRANTEL_FORKED = 14,         ///< the session belongs to the process that this one was forked from
    BRANTEL_TOO_LARGE = 15,      ///< a map would become longer than 2147483647 pixels
    BRANTEL_INTERNAL_ERROR = 16  ///< anything else; the error text says what
};

/// What became of a frame.
enum {
    BRANTEL_PLACED = 1,   ///< merged into a map
    BRANTEL_SKIPPED = 2,  ///< its place is known, but it shows nothing new: not merged
    BRANTEL_WAITING = 3,  ///< nothing joins it yet: kept, and tried again when something near it was placed
    BRANTEL_REFUSED = 4   ///< not merged, for good
};

/// Why a frame was not placed.
enum {
    BRANTEL_NO_REASON = 0,        ///< it was placed
    BRANTEL_SHIFT_TOO_SMALL = 1,  ///< shifted by less than 10 % of a side against the frame that it joins
    BRANTEL_SHIFT_TOO_LARGE = 2,  ///< shifted by 90 % of a side or more, which the settings do not allow
    BRANTEL_TOO_FEW_CORNERS = 3,  ///< too little structure (without track keeping)
    BRANTEL_TOO_FEW_MATCHES = 4,  ///< its corners found too few partners (without track keeping)
    BRANTEL_BRIGHTNESS = 5,       ///< failed the brightness test
    BRANTEL_MOTION = 6,           ///< failed the motion test
    BRANTEL_NOTHING_JOINS = 7,    ///< no frame was found that it overlaps for certain
    BRANTEL_NO_ROOM_TO_WAIT = 8,  ///< it waited and had to make room for a newer frame
    BRANTEL_MAP_ENDED = 9         ///< it waited when the host began a new map
};

/// How a frame's position was found.
enum {
    BRANTEL_NOT_FOUND = 0,
    BRANTEL_BY_FIRST = 1,    ///< it began its map
    BRANTEL_BY_CORNERS = 2,  ///< by matching corners, near the shift known from elsewhere if there was one
    BRANTEL_BY_CORRELATION = 3,  ///< by correlation, which was certain where the corners said nothing
    BRANTEL_BY_POSITION = 4      ///< as the host said, since the pictures said nothing
};

/// By which test a registered frame is accepted.
enum {
    BRANTEL_ACCEPT_BY_BRIGHTNESS = 0,  ///< the overlap is about as bright in both frames
    BRANTEL_ACCEPT_BY_MOTION = 1       ///< the frame differs little from the last one
};

/// How a session is set up. Fill it by @ref brantel_default_settings, then set the frames' kind and what is to differ.
typedef struct brantel_settings {
    uint32_t size;     ///< sizeof(brantel_settings)
    int32_t columns;   ///< of a frame, pixels, at least 1; frames of 82 and less seldom can be joined
    int32_t rows;      ///< the same
    int32_t channels;  ///< 1 or 3
    int64_t
        stride;  ///< bytes from row to row of a frame whose input names no other; 0: rows follow each other

    int32_t density_level;  ///< -100 to 200, default 8: corners per frame = ((level + 8) * 500) / 16 - 100
    int32_t acceptance;     ///< one of the two tests; default brightness
    int32_t strict;         ///< not 0: the tests' narrow limits, for a standing camera; default 0

    /// Keeping the track, default 1: shifts are estimated by correlation, which corners then confirm and refine. 0: corners
    /// of whole frames decide, frames are compared with the last one placed and nothing else, and the settings from here
    /// to trust_positions count for nothing: what brantel.h's three functions do.
    int32_t correlation;
    int32_t
        trust_correlation;  ///< default 1: a certain correlation is used as it stands where corners say nothing
    int32_t small_overlaps;  ///< default 1: frames shifted by 90 % of a side and more are merged, too
    int32_t
        earlier_frames;  ///< 0 to 1000, default 6: with how many earlier frames a frame is compared at most when
                         ///< it does not join the last one
    int32_t waiting_frames;  ///< 0 to 10000, default 64: how many frames may wait
    int32_t join_maps;       ///< default 1: maps that a frame connects become one
    int32_t
        trust_positions;  ///< default 0; not 0: a frame whose picture says nothing is placed by its position

    /// Bytes for waiting frames and for what is kept of placed ones to compare others with, default 512 MiB, at least 0.
    /// The pictures of the maps and working memory of some frames' size are not counted.
    int64_t memory;

    /// Receives what the session has to say, line by line, without line ends; for diagnosis only, the lines are no part
    /// of the interface. Called by the thread that called the session, before that call returns. May be null (default).
    void (*on_line)(void* user, const char* line);
    void* user;  ///< handed to on_line
} brantel_settings;

/// What goes with a frame. All fields but size may be 0.
typedef struct brantel_input {
    uint32_t size;         ///< sizeof(brantel_input)
    int32_t has_position;  ///< not 0: the three numbers below are given
    int64_t stride;  ///< bytes from row to row, negative for pictures stored bottom up; 0: the settings' one
    int64_t tag;     ///< any number, for instance a time; handed back with the frame
    /// Where the host believes the frame's top-left pixel to lie, pixels, x to the right, y down, -1e9 to 1e9, in a
    /// system of its own: only differences between positions count.
    double x;
    double y;
    /// How far a difference may be off, pixels per axis, 0 to 1e9; 0: unknown, a tenth of the frame's longer side is
    /// assumed. The picture is looked for there first; where the pictures say for certain that the position is wrong, they
    /// are believed. Without track keeping corners are looked for there only, or in whole frames when the uncertainty is
    /// the longer side or more.
    double uncertainty;
} brantel_input;

/// What is known about a frame.
typedef struct brantel_frame {
    uint32_t size;     ///< sizeof(brantel_frame)
    int32_t state;     ///< @ref BRANTEL_PLACED ...
    int32_t reason;    ///< why it was not placed, @ref BRANTEL_NO_REASON ...
    int32_t found_by;  ///< @ref BRANTEL_NOT_FOUND ...
    int32_t map;       ///< number of the map in which its place is known, from 1; 0: not known
    int32_t x;         ///< of its top-left pixel in that map
    int32_t y;
    int32_t matches;    ///< corner matches that support the place; 0 when corners were not asked
    double confidence;  ///< 0 to 1: how well the pictures support the place; 1 for a map's first frame
    int64_t tag;        ///< as given
    int64_t joins;      ///< index of the frame that it was joined to; -1: none
} brantel_frame;

/// What adding a frame changed beside that frame; bits of brantel_answer::changes.
enum {
    BRANTEL_EARLIER_PLACED = 1,   ///< frames that waited were placed or skipped: their entries have changed
    BRANTEL_EARLIER_REFUSED = 2,  ///< a frame that waited was refused: its entry has changed
    BRANTEL_MAPS_JOINED = 4,      ///< earlier frames' maps and positions have changed
    BRANTEL_MEMORY_MOVED = 8,     ///< the map's canvas grew; no position changed
    BRANTEL_POSITION_CONTRADICTED = 16  ///< the frame lies elsewhere than its position said
};

/// The answer to a frame.
typedef struct brantel_answer {
    uint32_t size;       ///< sizeof(brantel_answer)
    uint32_t changes;    ///< bits, see @ref BRANTEL_EARLIER_PLACED ...
    int64_t frame;       ///< the frame's index, from 0 in the order of adding
    int32_t state;       ///< as in brantel_frame
    int32_t reason;      ///< as in brantel_frame
    int32_t found_by;    ///< as in brantel_frame
    int32_t map;         ///< as in brantel_frame
    int32_t x;           ///< as in brantel_frame
    int32_t y;           ///< as in brantel_frame
    int32_t matches;     ///< as in brantel_frame
    int32_t placed_now;  ///< frames that this call placed, waiting ones included
    double confidence;   ///< as in brantel_frame
    /// The rectangle of the frame's map outside of which no pixel changed; width and height are 0 when none did.
    int32_t changed_x;
    int32_t changed_y;
    int32_t changed_width;
    int32_t changed_height;
} brantel_answer;

/// What is known about a map.
typedef struct brantel_map {
    uint32_t size;        ///< sizeof(brantel_map)
    int32_t joined_into;  ///< number of the map that it moved over into; 0: it is in use
    int32_t joined_x;     ///< what was added to its coordinates then
    int32_t joined_y;
    int32_t x;  ///< the smallest rectangle that holds all of its frames; all 0 once it has been joined
    int32_t y;
    int32_t width;
    int32_t height;
    int64_t frames;          ///< placed in it
    int32_t canvas_columns;  ///< of the canvas behind it, which grows by leaps; black outside the rectangle
    int32_t canvas_rows;
} brantel_map;

/// The library's version, for instance "0.1.0". Static text.
BRANTEL_SESSION_API const char* brantel_version(void);

/// English names of the values above for messages, for instance "shift too small"; "unknown" for other values. Static
/// text, never null.
BRANTEL_SESSION_API const char* brantel_status_text(brantel_status status);
BRANTEL_SESSION_API const char* brantel_state_text(int32_t state);
BRANTEL_SESSION_API const char* brantel_reason_text(int32_t reason);
BRANTEL_SESSION_API const char* brantel_found_by_text(int32_t found_by);

/// Fills settings with the defaults; columns, rows and channels become 0.
/// @param settings  its size must be set
BRANTEL_SESSION_API brantel_status brantel_default_settings(brantel_settings* settings);

/// Opens a session.
/// @param settings  read during the call only
/// @param session   out: the session, which the caller closes; null when there is none. Unless it fails for want of
///                  memory or of the pointers, a refused call leaves a reason in @ref brantel_status_text's words only.
BRANTEL_SESSION_API brantel_status brantel_session_open(const brantel_settings* settings,
                                                        brantel_session** session);

/// Ends a session and frees all that it holds. Its threads have ended when this returns. Null is allowed. Not to be called
/// while another call on the session runs.
BRANTEL_SESSION_API void brantel_session_close(brantel_session* session);

/// Adds a frame.
/// @param pixels  the frame's first row, rows x stride bytes as the settings and input say; not written to, and not
///                read any more once the call has returned
/// @param input   what goes with it; null: nothing
/// @param answer  out: its size must be set; may be null
/// @return @ref BRANTEL_OK also when the frame was not placed: the answer tells. With any other status the frame was not
///         added and has no index. When memory fails between two steps, maps may have been joined and waiting frames
///         placed all the same.
BRANTEL_SESSION_API brantel_status brantel_session_add(brantel_session* session, const void* pixels,
                                                       const brantel_input* input, brantel_answer* answer);

/// Ends the present map: the next frame begins a new one, which is never joined to those before. Frames that wait are
/// refused. Nothing happens when no frame was added since the last time.
BRANTEL_SESSION_API brantel_status brantel_session_begin_map(brantel_session* session);

/// How many frames were added, and how many maps were ever begun. 0 for a null pointer or a session in use.
BRANTEL_SESSION_API int64_t brantel_session_frame_count(const brantel_session* session);
BRANTEL_SESSION_API int32_t brantel_session_map_count(const brantel_session* session);

/// What is known about a frame now.
/// @param index  0 to frame count - 1
/// @param frame  out: its size must be set
BRANTEL_SESSION_API brantel_status brantel_session_frame(const brantel_session* session, int64_t index,
                                                         brantel_frame* frame);

/// What is known about a map now.
/// @param number  1 to map count
/// @param map     out: its size must be set
BRANTEL_SESSION_API brantel_status brantel_session_map(const brantel_session* session, int32_t number,
                                                       brantel_map* map);

/// Copies a part of a map into the caller's memory, as it is or reduced for display.
/// @param number     1 to map count. A map that was joined into another one is read there, at its own coordinates.
/// @param x          map coordinates of the part's top-left pixel; the part may reach beyond the map, which is 0 there
/// @param y          the same
/// @param width      columns and rows of the result, 1 to 1000000 each. With a reduction a result pixel covers
/// @param height     reduction x reduction pixels of the map, the first one beginning at (x, y).
/// @param reduction  1, 2, 4, ... 1024. A result sample is the mean of the covered pixels that are painted (not 0 in all
///                   channels), half up; 0 when none is.
/// @param pixels     out: height x stride bytes, channels as the frames
/// @param stride     bytes from row to row of the result, negative for bottom up; 0: rows follow each other
BRANTEL_SESSION_API brantel_status brantel_session_read(const brantel_session* session, int32_t number,
                                                        int32_t x, int32_t y, int32_t width, int32_t height,
                                                        int32_t reduction, void* pixels, int64_t stride);

/// Why the last call on this session failed, in English; "" when it did not. The text stays valid until the next call on
/// the session. Never null; for a null pointer a text that says so.
BRANTEL_SESSION_API const char* brantel_session_error(const brantel_session* session);

// NOLINTEND(readability-identifier-naming)

#ifdef __cplusplus
}
#endif

#endif
