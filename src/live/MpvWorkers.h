#pragma once

#include <functional>

struct NewPlayer;

// The worker threads on which libmpv players are made (a few milliseconds each) and torn down (up to seconds
// while a camera hangs). After the last of several, and a while after streams ended, their memory goes back
// to the system. When the application object goes, what is still being torn down gets three seconds; then the
// process leaves without it.
namespace MpvWorkers {

void make(std::function<void()> job);
void tearDown(const NewPlayer &player);

// A player that lives on has ended a stream. To be called on the GUI thread.
void noteStreamEnded();

// Waits until nothing is being made or torn down. Returns whether that came about in time.
bool waitForDone(int timeoutMs);

} // namespace MpvWorkers
