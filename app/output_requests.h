#pragma once
// What the output helper answers. Whoever asks may be a process that a game has taken over, so
// nothing that a request holds is believed.

#include <string>
#include <string_view>
#include <vector>

#include "base/types.h"

namespace moxi {

// What the helper opens: these files, and pictures named "MOXI ....png" directly in this
// folder ("" for none).
struct OutputPlaces {
    std::vector<std::string> files;
    std::string picturesFolder;
    // Files of the host's own: read, and replaced whole. Their folders are made when they are
    // missing.
    std::vector<std::string> ownFiles = {};
    // One of them may be changed only as `mayChange` permits, from its present contents to its
    // next.
    std::string guardedFile = {};
    bool (*mayChange)(const std::string& before, const std::string& after) = nullptr;
};

// A request is one of these letters and a path, in one packet of at most so many bytes.
constexpr char kRequestOpen = 'o';
constexpr char kRequestRemove = 'r';
constexpr char kRequestMakeNew = 'n';
constexpr char kRequestRead = 'f';
constexpr char kRequestPutInPlace = 'p';
constexpr size_t kLongestOutputRequest = 4097;

// Does what a request of at least one byte asks for, if it may, and answers through the connection:
// an error number (int), 0 for none, and with it the open file where there is one.
void ServeOutputRequest(int connection, const OutputPlaces& places, std::string_view request);

// Forgets which pictures were made in this run. For tests.
void ForgetPicturesOfRun();

}  // namespace moxi
