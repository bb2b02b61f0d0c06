#include "base/helper_process.h"

#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>

#include "base/log.h"

namespace moxi {

int StartHelperProcess(const std::function<void(int connection)>& serve) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
        return -1;
    }
    const pid_t child = fork();
    if (child == 0) {
        // A second fork leaves the helper to init, so that nobody has to wait for it.
        if (fork() != 0) {
            _exit(0);
        }
        serve(ends[1]);
        _exit(0);
    }
    close(ends[1]);
    if (child < 0) {
        close(ends[0]);
        return -1;
    }
    waitpid(child, nullptr, 0);
    return ends[0];
}

void CloseOthers(int kept) {
    // The log may have been given another descriptor than the stream's.
    if (errorDescriptor != STDERR_FILENO) {
        dup2(errorDescriptor, STDERR_FILENO);
        errorDescriptor = STDERR_FILENO;
    }
    constexpr unsigned kFirst = STDERR_FILENO + 1;
    const auto own = static_cast<unsigned>(kept);
    if (own > kFirst) {
        close_range(kFirst, own - 1, 0);
    }
    close_range(own >= kFirst ? own + 1 : kFirst, ~0U, 0);
}

ssize_t SendWithFile(int connection, const void* bytes, std::size_t size, int file, int flags) {
    iovec part = {const_cast<void*>(bytes), size};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    msghdr message = {};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    if (file >= 0) {
        message.msg_control = control;
        message.msg_controllen = sizeof control;
        cmsghdr* const header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(sizeof(int));
        std::memcpy(CMSG_DATA(header), &file, sizeof file);
    }
    return sendmsg(connection, &message, flags);
}

ssize_t TakeWithFile(int connection, void* bytes, std::size_t size, int& file, int flags) {
    iovec part = {bytes, size};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    msghdr message = {};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    file = -1;
    const ssize_t taken = recvmsg(connection, &message, flags | MSG_CMSG_CLOEXEC);
    const cmsghdr* const header = taken >= 0 ? CMSG_FIRSTHDR(&message) : nullptr;
    if (header != nullptr && header->cmsg_type == SCM_RIGHTS) {
        std::memcpy(&file, CMSG_DATA(header), sizeof file);
    }
    return taken;
}

}  // namespace moxi
