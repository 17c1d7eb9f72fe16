// The move family: one row per member, the members' wait differences as data.
#pragma once

#include "motion/completion.h"
#include "session/exchange.h"

namespace zq::motion {

struct MoveRow {
    const char* fn;       // function name of the log lines
    const char* command;  // wire "command", also the acknowledgement's key
    WaitTraits wait;
};

//                                  device line   own type                    errors resets report fixed-1000
inline constexpr MoveRow kMoveJ = {"zq_movej", "movej", {"zq_movej", ZQ_TRAJECTORY_MOVEJ, true, true, true, false}};
inline constexpr MoveRow kMoveL = {"zq_movel", "movel", {"zq_movel", ZQ_TRAJECTORY_MOVEL, false, false, true, false}};
inline constexpr MoveRow kMoveLOffset = {
    "zq_movel_offset", "movel_offset", {"zq_movel", ZQ_TRAJECTORY_MOVEL, false, false, true, false}};
inline constexpr MoveRow kMoveS = {"zq_moves", "moves", {"zq_movel", ZQ_TRAJECTORY_MOVES, false, false, true, false}};
inline constexpr MoveRow kMoveC = {"zq_movec", "movec", {"zq_movec", ZQ_TRAJECTORY_MOVEC, false, false, true, false}};
inline constexpr MoveRow kMoveJP = {
    "zq_movej_p", "movej_p", {"zq_movej_p", ZQ_TRAJECTORY_MOVEJ, false, false, false, true}};

// A pose on the wire: x, y, z in micrometres, rx, ry, rz in 0.001 rad.
struct WirePose {
    int32_t v[6];
};
WirePose wire_pose(const zq_pose_t& pose);

}  // namespace zq::motion
