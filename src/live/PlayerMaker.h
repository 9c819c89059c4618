#pragma once

#include <optional>

struct mpv_handle;
struct mpv_render_context;

// A player that nobody owns yet.
struct NewPlayer
{
    mpv_handle *handle = nullptr;
    // For frames in memory; null when frames are drawn with OpenGL, whose context belongs to a window.
    mpv_render_context *context = nullptr;
};

// Makes libmpv players, which takes a few milliseconds each and belongs on a worker thread. Once one was
// asked for, another is kept ready, so that the next cell that opens need not wait for its own.
namespace PlayerMaker {

// A player with all its options, none when libmpv makes none. Runs where it is called.
std::optional<NewPlayer> make(bool stretch, bool withContext);

// The player that is kept ready, if there is one of this kind.
std::optional<NewPlayer> takeSpare(bool withContext);

// Has one made in a moment, unless there is one, and with it the memory in which the next file, of whichever
// player, is looked at. To be called on the GUI thread.
void keepSpare(bool withContext);

// Tears down the one that is kept ready.
void discardSpare();

} // namespace PlayerMaker
