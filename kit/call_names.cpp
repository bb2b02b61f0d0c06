#include "kit/call_names.h"

#include "host/message.h"
#include "sys/services.h"

namespace moxi {

namespace {

struct Name {
    u32 command;
    std::string_view name;
};

constexpr Name kMessages[] = {
    {MSG_START1, "MSG_START1"},
    {MSG_START2, "MSG_START2"},
    {MSG_CLOSE, "MSG_CLOSE"},
    {MSG_END, "MSG_END"},
    {MSG_MINIMIZE, "MSG_MINIMIZE"},
    {MSG_MOVE, "MSG_MOVE"},
    {MSG_SIZE, "MSG_SIZE"},
    {MSG_MUSICDONE, "MSG_MUSICDONE"},
    {MSG_TICK, "MSG_TICK"},
    {MSG_DOWN, "MSG_DOWN"},
    {MSG_UP, "MSG_UP"},
    {MSG_CHAR, "MSG_CHAR"},
    {MSG_POINTER, "MSG_POINTER"},
    {MSG_PRESENTED, "MSG_PRESENTED"},
};

}  // namespace

std::string_view ServiceName(u32 command) {
    const Service* const service = FindService(command);
    return service == nullptr ? "" : service->title;
}

std::string_view MessageName(u32 command) {
    for (const Name& entry : kMessages) {
        if (entry.command == command) {
            return entry.name;
        }
    }
    return "";
}

std::optional<u32> MessageOfName(std::string_view name) {
    for (const Name& entry : kMessages) {
        if (entry.name == name) {
            return entry.command;
        }
    }
    return std::nullopt;
}

}  // namespace moxi
