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

}  // namespace

extern "C" const char* zq_strerror(int code) {
    for (const ResultText& t : kTexts) {
        if (t.code == code) return t.text;
    }
    return "unknown return code";
}
