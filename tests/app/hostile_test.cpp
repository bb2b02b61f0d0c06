// Games that mean harm: each is run with all walls, with those of the file services alone, and as
// an ordinary user. It gets the stated answers, and nothing outside its data folder changes.

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <ostream>
#include <random>

#include "tests/support/hostile_game.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

constexpr u32 kNone = 0xFFFFFFFF;
const std::string kUp = "../../../../../../../../../../../..";

struct Attack {
    const char* name;
    void (*prepare)(HostileGame& game);
};

void PrintTo(const Attack& attack, std::ostream* out) {
    *out << attack.name;
}

void WriteAndClose(HostileGame& game, const std::string& name, const std::string& text) {
    const u32 handle = game.Call(SYS_FILE_OPEN, {game.Text(name), "0x8302"});
    game.Call(SYS_FILE_WRITE,
              {CallingModule::Result(handle), game.Text(text), std::to_string(text.size())});
    game.Call(SYS_FILE_CLOSE, {CallingModule::Result(handle)});
}

// --- Reading what is none of its business

constexpr Attack kReading[] = {
    {"ReadsAPrivateKey",
     [](HostileGame& game) {
         game.MakeData();
         game.ExpectNothingAt(HostileGame::ToHome(".ssh/id_rsa"));
         game.ExpectNothingAt(HostileGame::GameToHome(".ssh/id_rsa"));
     }},
    {"ReadsAPrivateKeyBeforeThereIsADataFolder",
     [](HostileGame& game) {
         game.Expect(kNone, SYS_FILE_OPEN,
                     {game.Text(HostileGame::ToHome(".ssh/id_rsa")), "0x8000"});
         game.ExpectNothingAt(HostileGame::GameToHome(".ssh/id_rsa"));
     }},
    {"ReadsByAnAbsoluteName",
     [](HostileGame& game) {
         game.ExpectNothingAt(game.Home() + "/diary.txt");
         game.ExpectNothingAt("//etc/passwd");
         game.ExpectNothingAt("/etc/passwd");
     }},
    {"ReadsTheSystemsUsers",
     [](HostileGame& game) {
         game.MakeData();
         game.ExpectNothingAt(kUp + "/etc/passwd");
     }},
    {"ReadsItsOwnMemory",
     [](HostileGame& game) {
         game.MakeData();
         game.ExpectNothingAt(kUp + "/proc/self/mem");
         game.ExpectNothingAt(kUp + "/proc/self/maps");
         game.ExpectUntouched(kUp + "/proc/self/mem");
     }},
    {"ReadsItsOwnEnvironment",
     [](HostileGame& game) { game.ExpectNothingAt(kUp + "/proc/self/environ"); }},
    {"ReadsTheEnvironmentOfOthers",
     [](HostileGame& game) {
         game.ExpectNothingAt(kUp + "/proc/1/environ");
         game.ExpectNothingAt(kUp + "/proc/" + std::to_string(getpid()) + "/environ");
         game.ExpectNothingAt(kUp + "/proc/" + std::to_string(getpid()) + "/cmdline");
     }},
    {"ReadsThroughItsOwnDescriptors",
     [](HostileGame& game) {
         game.ExpectNothingAt(kUp + "/proc/self/fd/0");
         game.ExpectNothingAt(kUp + "/proc/self/root/etc/passwd");
         game.ExpectNothingAt(kUp + "/proc/self/cwd/beside.txt");
     }},
    {"OpensTheTerminal",
     [](HostileGame& game) {
         game.ExpectNothingAt(kUp + "/dev/tty");
         game.ExpectNothingAt(kUp + "/dev/ptmx");
         game.ExpectUntouched(kUp + "/dev/tty");
     }},
    {"ListsTheHomeFolder",
     [](HostileGame& game) {
         game.MakeData();
         const std::string name = game.Room(1024);
         for (const std::string& pattern :
              {HostileGame::ToHome("*"), HostileGame::GameToHome("*"), std::string("../*"),
               std::string("../../*"), kUp + "/*", std::string("/*/../*")}) {
             game.Expect(kNone, SYS_FIND_FIRST, {game.Text(pattern), name, "0", "0"});
         }
     }},
    {"AsksWhetherFoldersExist",
     [](HostileGame& game) {
         game.MakeData();
         game.Expect(kNone, SYS_MAKE_FOLDER, {game.Text(HostileGame::ToHome(".ssh"))});
         game.Expect(kNone, SYS_MAKE_FOLDER, {game.Text("..")});
         game.Expect(kNone, SYS_MAKE_FOLDER, {game.Text("../..")});
         game.Expect(kNone, SYS_FILE_SIZE, {game.Text("..")});
         game.Expect(kNone, SYS_FILE_SIZE, {game.Text("../game")});
     }},
    {"LeavesAndComesBack",
     [](HostileGame& game) {
         WriteTextFile(game.MakeData() + "/A.DAT", "inside");
         game.Expect(6, SYS_FILE_SIZE, {game.Text("A.DAT")});
         game.Expect(kNone, SYS_FILE_SIZE, {game.Text("../game/A.DAT")});
         game.Expect(kNone, SYS_FILE_SIZE, {game.Text("SAVE/../../game/A.DAT")});
     }},
    {"TakesTheMusicsWayOut",
     [](HostileGame& game) {
         game.ExpectNothingAt("../MUSIC/../../home/diary.txt");
         game.ExpectNothingAt("../MUSIC/../../../../../diary.txt");
         game.ExpectNothingAt("../MUSIC../../home/diary.txt");
     }},
    {"PlaysAFileOfTheUser",
     [](HostileGame& game) {
         game.Call(SYS_PLAY_SOUND, {game.Text("../beside.txt")});
         game.Call(SYS_PLAY_SOUND, {game.Text("../MUSIC/../beside.txt")});
         game.lastLine = "log: sound ../beside.txt: cannot be read";
     }},
};

// --- Changing what is none of its business

constexpr Attack kWriting[] = {
    {"WritesTheShellsStartFile",
     [](HostileGame& game) {
         game.ExpectUntouched(HostileGame::ToHome(".bashrc"));
         game.ExpectUntouched(HostileGame::GameToHome(".bashrc"));
     }},
    {"WritesTheShellsStartFileWithADataFolder",
     [](HostileGame& game) {
         game.MakeData();
         game.ExpectUntouched(HostileGame::ToHome(".bashrc"));
     }},
    {"WritesAnAutostartEntry",
     [](HostileGame& game) {
         game.MakeData();
         game.ExpectUntouched(HostileGame::ToHome(".config/autostart/evil.desktop"));
     }},
    {"WritesBesideTheGame",
     [](HostileGame& game) {
         game.ExpectUntouched("../beside.txt");
         game.ExpectUntouched("../NEW.TXT");
     }},
    {"WritesAmongOtherGames",
     [](HostileGame& game) {
         game.MakeData();
         game.keepsData = false;
         game.changes = {game.Data()};
         game.ExpectUntouched("../other game/SAVE.DAT");
     }},
    {"MakesFoldersOutside",
     [](HostileGame& game) {
         game.MakeData();
         game.Expect(kNone, SYS_MAKE_FOLDER, {game.Text(HostileGame::ToHome("FOLDER"))});
         game.Expect(kNone, SYS_MAKE_FOLDER, {game.Text("SAVE/../../FOLDER")});
         game.Expect(kNone, SYS_FILE_OPEN,
                     {game.Text(HostileGame::ToHome("NEW/NEW.DAT")), "0x8302"});
     }},
    {"MakesFoldersOutsideBeforeThereIsADataFolder",
     [](HostileGame& game) {
         game.Expect(kNone, SYS_FILE_OPEN, {game.Text("x/../../evil/A.DAT"), "0x8302"});
         game.Expect(kNone, SYS_FILE_OPEN, {game.Text("../evil/A.DAT"), "0x8302"});
         game.Expect(kNone, SYS_FILE_OPEN, {game.Text("x/../../../../../evil/A.DAT"), "0x8302"});
     }},
    {"RemovesAFolderOutside",
     [](HostileGame& game) {
         game.MakeData();
         game.Call(SYS_REMOVE_FOLDER, {game.Text(HostileGame::ToHome("empty"))});
         game.Call(SYS_REMOVE_FOLDER, {game.Text(HostileGame::GameToHome("empty"))});
         game.Call(SYS_REMOVE_FOLDER, {game.Text("..")});
     }},
    {"RemovesItsDataFolder",
     [](HostileGame& game) {
         game.MakeData();
         game.Call(SYS_REMOVE_FOLDER, {game.Text("")});
         game.Call(SYS_REMOVE_FOLDER, {game.Text(".")});
         game.Call(SYS_REMOVE_FOLDER, {game.Text("/")});
         WriteAndClose(game, "A.DAT", "still");
         game.Expect(5, SYS_FILE_SIZE, {game.Text("A.DAT")});
     }},
    {"DeletesWhatIsOutside",
     [](HostileGame& game) {
         for (const std::string& name :
              {HostileGame::ToHome("diary.txt"), HostileGame::GameToHome("diary.txt"),
               std::string("../beside.txt"), game.Home() + "/diary.txt"}) {
             game.Call(SYS_FILE_DELETE, {game.Text(name)});
         }
     }},
    {"MovesADiaryIn",
     [](HostileGame& game) {
         game.MakeData();
         game.Call(SYS_FILE_MOVE,
                   {game.Text(HostileGame::ToHome("diary.txt")), game.Text("MINE.TXT")});
         game.Expect(kNone, SYS_FILE_SIZE, {game.Text("MINE.TXT")});
     }},
    {"MovesAFileOut",
     [](HostileGame& game) {
         WriteAndClose(game, "A.DAT", "bad");
         game.Call(SYS_FILE_MOVE, {game.Text("A.DAT"), game.Text(HostileGame::ToHome("bad.sh"))});
         game.Call(SYS_FILE_MOVE, {game.Text("A.DAT"), game.Text("../bad.sh")});
         game.Expect(3, SYS_FILE_SIZE, {game.Text("A.DAT")});
     }},
    {"MovesAFileFromFolderToFolder",
     [](HostileGame& game) {
         WriteAndClose(game, "A/A.DAT", "moved");
         game.Call(SYS_MAKE_FOLDER, {game.Text("B")});
         game.Call(SYS_FILE_MOVE, {game.Text("A/A.DAT"), game.Text("B/B.DAT")});
         game.Expect(5, SYS_FILE_SIZE, {game.Text("B/B.DAT")});
         game.Expect(kNone, SYS_FILE_SIZE, {game.Text("A/A.DAT")});
         game.Call(SYS_FILE_MOVE, {game.Text("B/B.DAT"), game.Text("B/C.DAT")});
         game.Expect(5, SYS_FILE_SIZE, {game.Text("B/C.DAT")});
     }},
    {"WritesOverItsOwnFiles",
     [](HostileGame& game) {
         WriteAndClose(game, "SHIPPED.DAT", "other");
         WriteAndClose(game, "MAIN.MX", "other");
     }},
};

// --- Links

constexpr Attack kLinks[] = {
    {"FollowsALinkInItsData",
     [](HostileGame& game) {
         fs::create_symlink(game.Home() + "/diary.txt", game.MakeData() + "/LINK.TXT");
         game.ExpectNothingAt("LINK.TXT", Listed::Yes);
         WriteAndClose(game, "LINK.TXT", "gone");
     }},
    {"FollowsARelativeLinkInItsData",
     [](HostileGame& game) {
         fs::create_symlink(HostileGame::ToHome("diary.txt"), game.MakeData() + "/LINK.TXT");
         game.ExpectNothingAt("LINK.TXT", Listed::Yes);
         WriteAndClose(game, "LINK.TXT", "gone");
     }},
    {"FollowsALinkToAFolderInItsData",
     [](HostileGame& game) {
         fs::create_directory_symlink(game.Home(), game.MakeData() + "/LINK");
         game.ExpectNothingAt("LINK/diary.txt");
         game.ExpectUntouched("LINK/diary.txt");
         game.Expect(kNone, SYS_MAKE_FOLDER, {game.Text("LINK/FOLDER")});
         game.Expect(kNone, SYS_FIND_FIRST, {game.Text("LINK/*"), game.Room(1024), "0", "0"});
     }},
    {"FollowsALinkToNothingYet",
     [](HostileGame& game) {
         fs::create_symlink(game.Home() + "/.profile", game.MakeData() + "/LINK");
         game.Expect(kNone, SYS_FILE_OPEN, {game.Text("LINK"), "0x8302"});
     }},
    {"FollowsALinkAmongItsFiles",
     [](HostileGame& game) {
         fs::create_symlink("../home/diary.txt", game.Game() + "/LINK.TXT");
         fs::create_directory_symlink("../home", game.Game() + "/LINK");
         game.ExpectNothingAt("LINK.TXT", Listed::Yes);
         game.ExpectNothingAt("LINK/.ssh/id_rsa");
         game.Call(SYS_FILE_DELETE, {game.Text("LINK/diary.txt")});
     }},
    {"FollowsAChainOfLinks",
     [](HostileGame& game) {
         fs::create_directories(game.Game() + "/A/B");
         fs::create_symlink("B/../../C", game.Game() + "/A/LINK");
         fs::create_directory_symlink("..", game.Game() + "/C");
         game.ExpectNothingAt("A/LINK/beside.txt");
         game.ExpectNothingAt("C/home/diary.txt");
     }},
    {"FollowsLinksInACircle",
     [](HostileGame& game) {
         fs::create_symlink("B", game.Game() + "/A");
         fs::create_symlink("A", game.Game() + "/B");
         game.ExpectNothingAt("A", Listed::Yes);
         game.ExpectNothingAt("A/B");
     }},
    {"FollowsLinksThatStayInside",
     [](HostileGame& game) {
         fs::create_directories(game.Game() + "/A");
         fs::create_symlink("../SHIPPED.DAT", game.Game() + "/A/LINK");
         game.Expect(7, SYS_FILE_SIZE, {game.Text("A/LINK")});
         game.Expect(7, SYS_FILE_SIZE, {game.Text("A/../A/./LINK")});
     }},
    {"ListsThroughALink",
     [](HostileGame& game) {
         fs::create_directory_symlink(game.Home() + "/.ssh", game.MakeData() + "/KEYS");
         const std::string attribute = game.Room(4);
         game.Expect(0, SYS_FIND_FIRST, {game.Text("KEYS"), game.Room(1024), attribute, "0"});
         // A name that leads nowhere is no folder.
         const u32 handle = game.Call(SYS_FILE_OPEN, {game.Text("OUT"), "0x8302"});
         game.Call(SYS_FILE_WRITE, {CallingModule::Result(handle), attribute, "4"});
         game.Expect(kNone, SYS_FIND_FIRST, {game.Text("KEYS/*"), game.Room(1024), "0", "0"});
     }},
    {"WritesThroughAHardLink",
     [](HostileGame& game) {
         fs::create_hard_link(game.Home() + "/diary.txt", game.MakeData() + "/HARD.TXT");
         game.changes = {game.Home() + "/diary.txt"};  // it loses a name; the test looks below
         const u32 handle = game.Expect(0, SYS_FILE_OPEN, {game.Text("HARD.TXT"), "0x8002"});
         game.Expect(4, SYS_FILE_WRITE, {CallingModule::Result(handle), game.Text("gone"), "4"});
         game.Call(SYS_FILE_CLOSE, {CallingModule::Result(handle)});
         WriteAndClose(game, "HARD.TXT", "gone again");
     }},
    {"DeletesAHardLink",
     [](HostileGame& game) {
         fs::create_hard_link(game.Home() + "/diary.txt", game.MakeData() + "/HARD.TXT");
         game.changes = {game.Home() + "/diary.txt"};
         game.Call(SYS_FILE_DELETE, {game.Text("HARD.TXT")});
         game.Expect(kNone, SYS_FILE_SIZE, {game.Text("HARD.TXT")});
     }},
    {"LetsTheFaultsLogFollowALink",
     [](HostileGame& game) {
         fs::create_symlink(game.Home() + "/.bashrc", game.MakeData() + "/debug.log");
         game.Call(SYS_FILE_WRITE, {"0", "0xFFFFFFF0", "100"});
         game.Call(SYS_WRITE_CLIPBOARD, {"0xFFFFFFF0"});
         game.status = 1;
     }},
    {"LinksItsModuleToAnotherFile",
     [](HostileGame& game) {
         fs::create_symlink(game.Home() + "/diary.txt", game.MakeData() + "/MAIN.MX");
         game.Expect(7, SYS_FILE_SIZE, {game.Text("SHIPPED.DAT")});
     }},
};

// --- Names

constexpr Attack kNames[] = {
    {"EncodesTheWayOut",
     [](HostileGame& game) {
         for (const char* const dots :
              {"..\\", "%2e%2e/", "..%2f", "\xC0\xAE\xC0\xAE/", "\xE0\x80\xAE\xE0\x80\xAE/",
               "\xEF\xBC\x8E\xEF\xBC\x8E/", "..\xC0\xAF", ".. /", "..;/", "...//"}) {
             std::string name;
             for (int i = 0; i < 6; ++i) {
                 name += dots;
             }
             game.ExpectNothingAt(name + "home/diary.txt");
             game.ExpectNothingAt(name + "diary.txt");
         }
     }},
    {"RepeatsTheSlashes",
     [](HostileGame& game) {
         game.ExpectNothingAt("..//..///..//.././/diary.txt");
         game.ExpectNothingAt("/../home/diary.txt");
         game.ExpectNothingAt("./../home/diary.txt");
         game.ExpectNothingAt("//../home//diary.txt");
         game.ExpectUntouched("//..//..//..//../.bashrc");
     }},
    {"GivesNamesWithoutEnd",
     [](HostileGame& game) {
         game.ExpectNothingAt(std::string(5000, '.'));
         std::string way;
         for (int i = 0; i < 400; ++i) {
             way += "../";
         }
         game.ExpectNothingAt(way + "etc/passwd");
         game.ExpectNothingAt(std::string(1000, '/') + "etc/passwd");
         game.Expect(kNone, SYS_FILE_OPEN, {game.Text(std::string(300, 'x')), "0x8302"});
     }},
    {"MakesADeepTree",
     [](HostileGame& game) {
         std::string name;
         for (int i = 0; i < 200; ++i) {
             name += "a/";
         }
         const u32 handle = game.Expect(0, SYS_FILE_OPEN, {game.Text(name + "A.DAT"), "0x8302"});
         game.Expect(3, SYS_FILE_WRITE, {CallingModule::Result(handle), game.Text("abc"), "3"});
         game.Expect(3, SYS_FILE_SIZE, {game.Text(name + "A.DAT")});
     }},
    {"OpensEveryHandle",
     [](HostileGame& game) {
         for (u32 i = 0; i < 96; ++i) {
             game.Expect(i, SYS_FILE_OPEN, {game.Text("SHIPPED.DAT"), "0x8000"});
         }
         game.Expect(kNone, SYS_FILE_OPEN, {game.Text("SHIPPED.DAT"), "0x8000"});
         game.Expect(kNone, SYS_FILE_OPEN, {game.Text("A.DAT"), "0x8302"});
     }},
};

// --- What is no file

void MakeSocket(const std::string& path) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const int end = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(bind(end, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    close(end);
}

constexpr Attack kNoFiles[] = {
    {"WaitsAtAPipe",
     [](HostileGame& game) {
         mkfifo((game.Game() + "/PIPE").c_str(), 0666);
         mkfifo((game.MakeData() + "/PIPE2").c_str(), 0666);
         for (const char* const name : {"PIPE", "PIPE2"}) {
             game.Expect(kNone, SYS_FILE_OPEN, {game.Text(name), "0x8000"});
             game.Expect(kNone, SYS_FILE_SIZE, {game.Text(name)});
             game.Expect(0, SYS_LOAD_IMAGE, {game.Text(name)});
             game.Call(SYS_PLAY_SOUND, {game.Text(name)});
             game.Call(SYS_PLAY_MUSIC, {game.Text(name)});
         }
         game.Expect(kNone, SYS_FILE_OPEN, {game.Text("PIPE2"), "0x8302"});
     }},
    {"OpensASocket",
     [](HostileGame& game) {
         MakeSocket(game.Game() + "/SOCKET");
         game.Expect(kNone, SYS_FILE_OPEN, {game.Text("SOCKET"), "0x8000"});
         game.Call(SYS_PLAY_MUSIC, {game.Text("SOCKET")});
     }},
    {"TakesAFolderForAFile",
     [](HostileGame& game) {
         fs::create_directories(game.MakeData() + "/FOLDER");
         game.Expect(kNone, SYS_FILE_OPEN, {game.Text("FOLDER"), "0x8302"});
         game.Expect(kNone, SYS_FILE_OPEN, {game.Text("FOLDER"), "0x8002"});
         game.Expect(0, SYS_LOAD_IMAGE, {game.Text("FOLDER")});
         game.Expect(0, SYS_SETTINGS_SAVE, {game.Text("FOLDER")});
     }},
    {"HasAPipeForAModule",
     [](HostileGame& game) {
         mkfifo((game.MakeData() + "/MAIN.MX").c_str(), 0666);
         game.Expect(7, SYS_FILE_SIZE, {game.Text("SHIPPED.DAT")});
     }},
};

// --- Sizes

constexpr Attack kSizes[] = {
    {"ReadsFourGigabytes",
     [](HostileGame& game) {
         const u32 handle = game.Call(SYS_FILE_OPEN, {game.Text("MAIN.MX"), "0x8000"});
         game.Call(SYS_FILE_READ, {CallingModule::Result(handle), "0xFFFFFFF0", "0xFFFFFFFF"});
         game.status = 1;
     }},
    {"WritesFourGigabytes",
     [](HostileGame& game) {
         const u32 handle = game.Call(SYS_FILE_OPEN, {game.Text("A.DAT"), "0x8302"});
         game.Call(SYS_FILE_WRITE, {CallingModule::Result(handle), "512", "0xFFFFFFFF"});
         game.status = 1;
     }},
    {"WritesAcrossTheEndOfAddresses",
     [](HostileGame& game) {
         const u32 handle = game.Call(SYS_FILE_OPEN, {game.Text("A.DAT"), "0x8302"});
         game.Call(SYS_FILE_WRITE, {CallingModule::Result(handle), "0xFFFFFF00", "0x200"});
         game.status = 1;
     }},
    {"EncodesFourGigabytes",
     [](HostileGame& game) {
         const u32 handle = game.Call(SYS_FILE_OPEN, {game.Text("A.DAT"), "0x8302"});
         game.Call(SYS_FILE_WRITE_BASE64, {CallingModule::Result(handle), "512", "0x7FFFFFFF"});
         game.status = 1;
     }},
    {"NamesTextBeyondTheImage",
     [](HostileGame& game) {
         game.Call(SYS_FILE_OPEN, {"0xFFFFFFFF", "0x8000"});
         game.status = 1;
     }},
    {"HasAParameterBlockBeyondTheImage",
     [](HostileGame& game) {
         game.SetModule(
             "        .code\n        MOVE.L R15, #0xFFFFFFFE\n        SYS\n        STOP\n");
         game.status = 1;
     }},
    {"HasSizesThatAddUpToMoreThanThereIs",
     [](HostileGame& game) {
         std::string module(512, '\0');
         module.replace(208, 6, std::string("MOXI6\0", 6));
         module[218] = 6;
         module[225] = 2;  // 512 bytes are loaded
         for (const size_t at : {232, 240, 248}) {
             module.replace(at, 4, "\xF0\xFF\xFF\xFF");
         }
         game.SetModuleBytes(module);
         game.status = 1;
         game.lastLine = "fatal: Error allocating .MX memory";
     }},
    {"IsNoModuleAtAll",
     [](HostileGame& game) {
         game.SetModuleBytes(std::string(4096, 'M'));
         game.status = 1;
         game.lastLine = "fatal: Not a MOXI 6 .MX file";
     }},
    {"MakesBitmapsBeyondTheHeap",
     [](HostileGame& game) {
         game.Call(SYS_NEW_BITMAP, {"0xFFFF", "0xFFFF"});
         game.Call(SYS_NEW_BITMAP, {"0xFFFFFFFF", "0xFFFFFFFF"});
         game.status = 1;
         game.lastLine = "fatal: Terminating: insufficient Heap space. So sorry.";
     }},
};

// --- The host

constexpr Attack kHost[] = {
    {"OpensALocalAddress",
     [](HostileGame& game) {
         game.Call(SYS_OPEN_WEB, {game.Text("file:///etc/passwd")});
         game.Call(SYS_OPEN_WEB, {game.Text("javascript:alert(1)")});
         game.lastLine = "log: OpenURL file:///etc/passwd";
     }},
    {"PutsATextWithoutEndOnTheClipboard",
     [](HostileGame& game) {
         game.Call(SYS_WRITE_CLIPBOARD, {"0xFFFFFFF0"});
         game.status = 1;
     }},
    {"SavesAndLoadsOutside",
     [](HostileGame& game) {
         game.Expect(0, SYS_SETTINGS_LOAD, {game.Text(HostileGame::GameToHome("diary.txt"))});
         game.Expect(1, SYS_SETTINGS_ADD_SECTION, {game.Text("evil")});
         game.Expect(0, SYS_SETTINGS_SAVE, {game.Text(HostileGame::ToHome(".bashrc"))});
         game.Expect(0, SYS_SETTINGS_SAVE, {game.Text("../../evil.ini")});
     }},
};

// --- Work and waiting without end

constexpr Attack kPatience[] = {
    {"ListsWithAPatternOfStars",
     [](HostileGame& game) {
         WriteTextFile(game.MakeData() + "/" + std::string(250, 'a'), "");
         std::string pattern;
         for (int i = 0; i < 120; ++i) {
             pattern += "*a";
         }
         game.Expect(kNone, SYS_FIND_FIRST, {game.Text(pattern + "b"), game.Room(1024), "0", "0"});
         game.Expect(0, SYS_FIND_FIRST, {game.Text(pattern + "*"), game.Room(1024), "0", "0"});
     }},
    {"FormatsTwoThousandMillionBlanks",
     [](HostileGame& game) {
         game.Call(SYS_APPEND_FORMAT, {game.Room(64), game.Text("%2000000000d"), "4", "5", "0"});
         game.status = 1;
     }},
    {"SetsItsTitleWithoutEnd",
     [](HostileGame& game) {
         game.SetModule(
             "        .code\nstart:  MOVE.L  R2, #50000\n@more:  MOVE.L  R15, #block\n"
             "        SYS\n        SUB.L   R2, #1\n        TBNE.L  R2, @more\n"
             "        STOP\n        .data\nblock:  .long   0x070B, text\n"
             "text:   .asciz  \"A\"\n");
     }},
    {"HasAPipeForItsSymbols",
     [](HostileGame& game) {
         mkfifo((game.Game() + "/MAIN.SYM").c_str(), 0666);
         mkfifo((game.Game() + "/MAIN.LIN").c_str(), 0666);
         game.Call(SYS_WRITE_CLIPBOARD, {"0xFFFFFFF0"});
         game.status = 1;
     }},
    {"HasAnotherFileForItsSymbols",
     [](HostileGame& game) {
         fs::create_symlink("../home/diary.txt", game.Game() + "/MAIN.SYM");
         game.Call(SYS_WRITE_CLIPBOARD, {"0xFFFFFFF0"});
         game.status = 1;
     }},
    {"HasAPipeForTheFaultsLog",
     [](HostileGame& game) {
         mkfifo((game.MakeData() + "/debug.log").c_str(), 0666);
         game.Call(SYS_WRITE_CLIPBOARD, {"0xFFFFFFF0"});
         game.status = 1;
     }},
    {"HasAnInformationFileThatIsTwoHundredThousandDeep",
     [](HostileGame& game) {
         std::string text = "<plist><dict><key>ZULGameName</key><string>D</string>";
         for (const char* const tag : {"<a>", "</a>"}) {
             for (int i = 0; i < 200'000; ++i) {
                 text += tag;
             }
         }
         WriteTextFile(game.Game() + "/Info.plist", text + "</dict></plist>");
         game.Expect(7, SYS_FILE_SIZE, {game.Text("SHIPPED.DAT")});
     }},
    {"HasAPictureOfTwoThousandMillionColumns",
     [](HostileGame& game) {
         WriteTextFile(game.Game() + "/A.PNG",
                       std::string("\x89PNG\r\n\x1A\n\0\0\0\x0DIHDR\x7F\xFF\xFF\xFF\x7F\xFF\xFF\xFF"
                                   "\x08\x06\0\0\0\x14\xC9\x0B\x66",
                                   33));
         game.Expect(0, SYS_LOAD_IMAGE, {game.Text("A.PNG")});
     }},
};

template <size_t kSeed>
void CallAtRandom(HostileGame& game) {
    std::mt19937 random(kSeed);
    const auto any = [&random](u32 count) { return static_cast<u32>(random() % count); };
    const std::string up = game.Text(HostileGame::ToHome(".bashrc"));
    const std::string file = game.Text("A/B.DAT");
    const std::string room = game.Room(4096);
    // Sub-commands that may go on for ever by design, and the waiting, are left out.
    constexpr std::array<u32, 10> kMost = {16, 6, 12, 5, 3, 20, 5, 21, 17, 4};
    for (int i = 0; i < 60; ++i) {
        const u32 group = any(kMost.size());
        const u32 sub = any(kMost[group]);
        if (group == 5 && (sub == 3 || sub == 8 || sub == 0x12)) {
            continue;
        }
        std::vector<std::string> words;
        for (int word = 0; word < 11; ++word) {
            const std::string kValues[] = {up,   file, room,         room,
                                           room, "1",  "0x80000000", std::to_string(any(100))};
            // The wildest values end most runs at once, so they are rare.
            words.push_back(any(40) == 0 ? "0xFFFFFFFF" : kValues[any(8)]);
        }
        game.Call(group << 8 | sub, words);
    }
    game.status = -1;
}

constexpr Attack kRandom[] = {
    {"CallsAtRandom1", CallAtRandom<1>}, {"CallsAtRandom2", CallAtRandom<2>},
    {"CallsAtRandom3", CallAtRandom<3>}, {"CallsAtRandom4", CallAtRandom<4>},
    {"CallsAtRandom5", CallAtRandom<5>}, {"CallsAtRandom6", CallAtRandom<6>},
};

std::vector<Attack> AllAttacks() {
    std::vector<Attack> all;
    const auto add = [&all](const auto& some) {
        all.insert(all.end(), std::begin(some), std::end(some));
    };
    add(kReading);
    add(kWriting);
    add(kLinks);
    add(kNames);
    add(kNoFiles);
    add(kSizes);
    add(kHost);
    add(kPatience);
    add(kRandom);
    return all;
}

class Hostile : public testing::TestWithParam<std::tuple<Attack, Walls>> {};

TEST_P(Hostile, GameGetsTheStatedAnswerAndChangesNothing) {
    const auto& [attack, walls] = GetParam();
    HostileGame game;
    attack.prepare(game);
    const ProgramResult result = game.Run(walls);
    EXPECT_EQ(ReadTextFile(game.Home() + "/diary.txt"), "dear diary");
    EXPECT_EQ(result.output, "");
}

std::string NameOf(const testing::TestParamInfo<Hostile::ParamType>& info) {
    constexpr const char* kWalls[] = {"", "WithFileServicesAlone", "WithOldLandlock",
                                      "AsAnOrdinaryUser"};
    const auto& [attack, walls] = info.param;
    return std::string(attack.name) + kWalls[static_cast<int>(walls)];
}

INSTANTIATE_TEST_SUITE_P(Games, Hostile,
                         testing::Combine(testing::ValuesIn(AllAttacks()),
                                          testing::Values(Walls::All, Walls::FilesAlone,
                                                          Walls::OldLandlock, Walls::OrdinaryUser)),
                         NameOf);

}  // namespace

}  // namespace moxi
