// The texts of the command return codes.
#include "zq_api.h"

namespace {

struct ResultText {
    int code;
    const char* text;
};

constexpr ResultText kTexts[] = {
    {1, "the controller refused the command, or the move ended without success"},
    {0, "success"},
    {-1, "unknown handle, arm disconnected, or sending failed"},
    {-2, "no reply within the time-out"},
    {-3, "the reply could not be parsed"},
    {-4, "refused by the library: bad argument, a feature this controller generation lacks, or a move that ended on another device"},
    {-5, "the single-thread wait for the move ran out of rounds"},
    {-6, "the move ended without its final report"},
    {-7, "not available on controller version 3"},
};

// Codes of the arm's error list (zq_get_current_arm_state, realtime reports) that the
// library knows; any other code above 1 is still a controller's error code.
constexpr ResultText kControllerTexts[] = {
    {0x6101, "controller error: a set point beyond a joint's speed limit"},
    {0x6102, "controller error: a set point beyond a joint's acceleration limit"},
    {0x6201, "controller error: the target pose is out of the arm's reach"},
};

}  // namespace

extern "C" const char* zq_strerror(int code) {
    for (const ResultText& t : kTexts) {
        if (t.code == code) return t.text;
    }
    for (const ResultText& t : kControllerTexts) {
        if (t.code == code) return t.text;
    }
    if (code > 1) return "controller error code: see the controller's error list";
    return "unknown return code";
}
