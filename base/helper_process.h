#pragma once
// Helper processes: what they are started with, and open files that go from one process to another.

#include <sys/types.h>

#include <cstddef>
#include <functional>

namespace moxi {

// Starts a process that nobody has to wait for, which serves the other end of a connection of
// packets and ends when `serve` returns. Returns this end, which is the caller's to close, or -1.
// Before there are threads: the process is a copy of this one.
int StartHelperProcess(const std::function<void(int connection)>& serve);

// Closes every descriptor but the standard streams and this one. Such processes are copies of the
// program's and would hold open what others talk through, or what the program was started with.
void CloseOthers(int kept);

// Sends one packet of bytes, and with it the open file unless it is -1, which stays open here too.
// What `sendmsg` returns with these flags.
ssize_t SendWithFile(int connection, const void* bytes, std::size_t size, int file, int flags);

// Takes one packet of at most so many bytes. `file` is the open file that came with it, the
// caller's to close and closed by exec, or -1. What `recvmsg` returns with these flags.
ssize_t TakeWithFile(int connection, void* bytes, std::size_t size, int& file, int flags);

}  // namespace moxi
