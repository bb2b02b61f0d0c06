#include "tests/support/hostile_game.h"

#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <linux/landlock.h>
#include <poll.h>
#include <seccomp.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "base/helper_process.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

constexpr u32 kNone = 0xFFFFFFFF;
constexpr uid_t kNobody = 65534;

// Has these system calls fail as on a kernel that lacks them.
void LoseSystemCalls() {
    scmp_filter_ctx filter = seccomp_init(SCMP_ACT_ALLOW);
    for (const char* const name :
         {"landlock_create_ruleset", "landlock_add_rule", "landlock_restrict_self", "openat2"}) {
        seccomp_rule_add(filter, SCMP_ACT_ERRNO(ENOSYS), seccomp_syscall_resolve_name(name), 0);
    }
    if (seccomp_load(filter) != 0) {
        _exit(125);
    }
    seccomp_release(filter);
}

// Hands over who is asked for Landlock's version from now on.
void LetOtherTellVersion(int connection) {
    scmp_filter_ctx filter = seccomp_init(SCMP_ACT_ALLOW);
    const scmp_arg_cmp isQuestion = {2, SCMP_CMP_EQ, LANDLOCK_CREATE_RULESET_VERSION, 0};
    seccomp_rule_add_array(filter, SCMP_ACT_NOTIFY,
                           seccomp_syscall_resolve_name("landlock_create_ruleset"), 1, &isQuestion);
    if (seccomp_load(filter) != 0) {
        _exit(125);
    }
    const int listener = seccomp_notify_fd(filter);
    if (SendWithFile(connection, "", 1, listener, 0) != 1) {
        _exit(125);
    }
}

// Answers every question with version 1, until the asking process has ended.
void TellFirstVersion(int connection) {
    char byte = 0;
    int listener = -1;
    if (TakeWithFile(connection, &byte, sizeof byte, listener, 0) != 1) {
        return;
    }
    seccomp_notif* question = nullptr;
    seccomp_notif_resp* answer = nullptr;
    seccomp_notify_alloc(&question, &answer);
    for (;;) {
        pollfd asked = {listener, POLLIN, 0};
        if (poll(&asked, 1, -1) < 0 || (asked.revents & POLLIN) == 0) {
            break;
        }
        std::memset(question, 0, sizeof *question);
        if (seccomp_notify_receive(listener, question) != 0) {
            continue;
        }
        *answer = {};
        answer->id = question->id;
        answer->val = 1;
        seccomp_notify_respond(listener, answer);
    }
    seccomp_notify_free(question, answer);
    close(listener);
}

void BecomeNobody() {
    if (geteuid() != 0) {
        return;
    }
    if (setgroups(0, nullptr) != 0 || setgid(kNobody) != 0 || setuid(kNobody) != 0) {
        _exit(124);
    }
}

void GiveToNobody(const std::string& folder) {
    if (geteuid() != 0) {
        return;
    }
    EXPECT_EQ(lchown(folder.c_str(), kNobody, kNobody), 0);
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        EXPECT_EQ(lchown(entry.path().c_str(), kNobody, kNobody), 0);
    }
}

void Redirect(int descriptor, const std::string& path, int flags) {
    const int file = open(path.c_str(), flags, 0666);
    dup2(file, descriptor);
    close(file);
}

// What a file is, for comparing.
std::string Describe(const fs::path& path) {
    struct stat status;
    if (lstat(path.c_str(), &status) != 0) {
        return "gone";
    }
    const std::string mode = std::to_string(status.st_mode) + " ";
    if (S_ISLNK(status.st_mode)) {
        return mode + fs::read_symlink(path).string();
    }
    if (!S_ISREG(status.st_mode)) {
        return mode;
    }
    return mode + std::to_string(status.st_nlink) + " " + ReadTextFile(path);
}

bool IsBelow(const std::string& path, const std::string& folder) {
    return path == folder || path.rfind(folder + "/", 0) == 0;
}

}  // namespace

HostileGame::HostileGame()
    : home(root.path + "/home"),
      game(root.path + "/game"),
      data(home + "/.local/share/Quillmoss Software/game") {
    for (const char* const folder : {"/.ssh", "/.config/autostart", "/.local/share", "/empty"}) {
        fs::create_directories(home + folder);
    }
    fs::create_directories(game);
    WriteTextFile(home + "/.ssh/id_rsa", "a private key");
    WriteTextFile(home + "/.bashrc", "alias ll='ls -l'");
    WriteTextFile(home + "/diary.txt", "dear diary");
    WriteTextFile(home + "/.local/share/other.dat", "another program's");
    WriteTextFile(root.path + "/beside.txt", "beside the game");
    WriteTextFile(game + "/SHIPPED.DAT", "shipped");
}

std::string HostileGame::MakeData() {
    fs::create_directories(data);
    return data;
}

u32 HostileGame::Expect(u32 answer, u32 command, const std::vector<std::string>& arguments) {
    const u32 call = calls.Call(command, arguments);
    expected.emplace_back(call, answer);
    return call;
}

void HostileGame::ExpectNothingAt(const std::string& name, Listed listed) {
    const std::string text = Text(name);
    Expect(kNone, SYS_FILE_OPEN, {text, "0x8000"});
    Expect(kNone, SYS_FILE_OPEN, {text, "0x8002"});
    Expect(kNone, SYS_FILE_OPEN, {text, "0"});
    Expect(kNone, SYS_FILE_SIZE, {text});
    Expect(kNone, SYS_FILE_TIME, {text});
    Expect(listed == Listed::Yes ? 0 : kNone, SYS_FIND_FIRST, {text, Room(1024), "0", "0"});
    Expect(0, SYS_LOAD_IMAGE, {text});
    Expect(0, SYS_SOUND_LENGTH, {text});
    Expect(0, SYS_SETTINGS_LOAD, {text});
    Call(SYS_PLAY_SOUND, {text});
    Call(SYS_PLAY_MUSIC, {text});
    Expect(0, SYS_MUSIC_PLAYING);
}

void HostileGame::ExpectUntouched(const std::string& name) {
    const std::string text = Text(name);
    const u32 handle = Expect(kNone, SYS_FILE_OPEN, {text, "0x8302"});
    Expect(0, SYS_FILE_WRITE, {CallingModule::Result(handle), text, "4"});
    Expect(kNone, SYS_FILE_OPEN, {text, "0x8002"});
    Call(SYS_FILE_DELETE, {text});
    Call(SYS_REMOVE_FOLDER, {text});
    const u32 own = Call(SYS_FILE_OPEN, {Text("OWN.DAT"), "0x8302"});
    Call(SYS_FILE_CLOSE, {CallingModule::Result(own)});
    Call(SYS_FILE_MOVE, {text, Text("STOLEN.DAT")});
    Expect(kNone, SYS_FILE_SIZE, {Text("STOLEN.DAT")});
    Call(SYS_FILE_MOVE, {Text("OWN.DAT"), text});
    Expect(0, SYS_FILE_SIZE, {Text("OWN.DAT")});
    Expect(0, SYS_SETTINGS_LOAD, {Text("NONE.INI")});
    Expect(0, SYS_SETTINGS_SAVE, {text});
    const u32 bitmap = Call(SYS_NEW_BITMAP, {"2", "2"});
    Expect(0, SYS_SAVE_IMAGE, {CallingModule::Result(bitmap), text, "0"});
    Expect(0, SYS_SAVE_IMAGE, {CallingModule::Result(bitmap), text, "1"});
}

void HostileGame::SetModuleBytes(const std::string& module) {
    bytes = module;
}

std::map<std::string, std::string> HostileGame::Snapshot() const {
    std::map<std::string, std::string> all;
    const auto none = fs::directory_options::skip_permission_denied;
    for (const auto& entry : fs::recursive_directory_iterator(root.path, none)) {
        const std::string path = entry.path();
        // The game's own, and what the host keeps of games.
        if (keepsData && IsBelow(path, fs::path(data).parent_path())) {
            continue;
        }
        if (IsBelow(path, home + "/.local/state")) {
            continue;
        }
        if (path.rfind(root.path + "/run", 0) == 0) {
            continue;
        }
        bool mayChange = false;
        for (const std::string& change : changes) {
            mayChange = mayChange || IsBelow(path, change);
        }
        if (!mayChange) {
            all[path] = Describe(entry.path());
        }
    }
    return all;
}

ProgramResult HostileGame::Start(Walls walls) const {
    const std::string program = fs::read_symlink("/proc/self/exe").parent_path() / "moxi";
    const std::string out = root.path + "/run.out";
    const std::string err = root.path + "/run.err";
    const std::string dump = root.path + "/run.image";
    for (const std::string& file : {out, err, dump}) {
        WriteTextFile(file, "");
    }
    if (walls == Walls::OrdinaryUser) {
        GiveToNobody(root.path);
    }
    int ends[2] = {-1, -1};
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    const pid_t child = fork();
    if (child == 0) {
        Redirect(0, "/dev/null", O_RDONLY);
        Redirect(1, out, O_WRONLY);
        Redirect(2, err, O_WRONLY);
        if (walls == Walls::OrdinaryUser) {
            BecomeNobody();
        }
        if (walls == Walls::FilesAlone) {
            LoseSystemCalls();
        }
        if (walls == Walls::OldLandlock) {
            LetOtherTellVersion(ends[1]);
        }
        if (chdir(root.path.c_str()) != 0) {
            _exit(126);
        }
        const std::string homeVariable = "HOME=" + home;
        const char* const environment[] = {homeVariable.c_str(), "PATH=/usr/bin:/bin",
                                           "ASAN_OPTIONS=detect_leaks=0", nullptr};
        const char* const arguments[] = {"moxi",       "--headless", "--dump-image",
                                         dump.c_str(), game.c_str(), nullptr};
        execve(program.c_str(), const_cast<char**>(arguments), const_cast<char**>(environment));
        _exit(127);
    }
    close(ends[1]);
    if (walls == Walls::OldLandlock) {
        TellFirstVersion(ends[0]);
    }
    close(ends[0]);
    int ended = 0;
    waitpid(child, &ended, 0);
    ProgramResult result;
    result.status = WIFEXITED(ended) ? WEXITSTATUS(ended) : 128 + WTERMSIG(ended);
    result.output = ReadTextFile(out);
    result.errors = ReadTextFile(err);
    return result;
}

void HostileGame::CheckAnswers(const AssembleResult& assembled) const {
    const std::string image = ReadTextFile(root.path + "/run.image");
    const u32 results = SymbolValue(assembled, CallingModule::kResults);
    for (const auto& [call, answer] : expected) {
        u32 value = 0;
        const size_t at = results + CallingModule::kResultSize * size_t{call};
        ASSERT_LE(at + 4, image.size()) << "no result of call " << call;
        std::memcpy(&value, image.data() + at, 4);
        EXPECT_EQ(value, answer) << "call " << call;
    }
}

ProgramResult HostileGame::Run(Walls walls) {
    AssembleResult assembled;
    if (!bytes.empty()) {
        WriteTextFile(game + "/MAIN.MX", bytes);
    } else {
        assembled = WriteGame(game, source.empty() ? calls.Source() : source);
    }
    if (walls == Walls::OrdinaryUser) {
        GiveToNobody(root.path);
    }
    const auto before = Snapshot();
    const ProgramResult result = Start(walls);
    if (status < 0) {
        EXPECT_LE(result.status, 1) << result.errors;
    } else {
        EXPECT_EQ(result.status, status) << result.errors;
    }
    if (!lastLine.empty()) {
        EXPECT_NE(result.errors.find(lastLine + "\n"), std::string::npos) << result.errors;
    }
    EXPECT_EQ(Snapshot(), before);
    if (!expected.empty()) {
        CheckAnswers(assembled);
    }
    return result;
}

}  // namespace moxi
