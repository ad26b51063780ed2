#pragma once

#include <sys/types.h>

#include <chrono>
#include <vector>

namespace quillmere::app {

// Processes below this one whose parent ends become its children, so that they can be found. Linux; elsewhere they
// stay the system's.
void adoptOrphans();

// Every live process below `root`, parents before their children; zombies are left out.
std::vector<pid_t> descendants(pid_t root);

// SIGKILL to everything below this process, again and again until nothing is left. Leaves the zombies to the caller.
// Any thread.
void killDescendants() noexcept;

// SIGKILL to everything below this process but `kept` and what runs below those: to what a child that has died has
// left. Any thread.
void killStrays(const std::vector<pid_t>& kept);

// Reaps the children that have ended, and those that have become children of this process since their parent ended.
// Not while another part of this process waits for a child of its own.
void reapEnded();

// Ends what still runs below this process: SIGTERM, SIGKILL after `grace`, everything reaped. Returns at once when
// there are no children. Not while another part of this process waits for a child of its own.
void endDescendants(std::chrono::milliseconds grace) noexcept;

}  // namespace quillmere::app
