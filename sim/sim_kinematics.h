// Kinematics of the simulated arm, in double precision: the flange and tool
// pose of a joint vector, and joint vectors that reach a pose.
//
// Every chain of the controller is reported in the modified DH form: row i
// is Rx(alpha_i) Tx(a_i) Rz(theta_i + offset_i) Tz(d_i). Rows past the joint
// count are fixed links (theta 0). The tool pose is seen in the work frame:
// inv(work) x flange x tool.
#pragma once

#include <array>
#include <vector>

#include "arm_config.h"

namespace zqsim {

using Transform = std::array<std::array<double, 4>, 4>;

Transform pose_to_transform(const Pose& p);  // Rz(rz) Ry(ry) Rx(rx), then the position
Pose transform_to_pose(const Transform& t);

// Flange in the base, for joint angles in degrees.
Transform flange_transform(const ArmConfig& arm, const std::vector<double>& joints_deg);
// Tool pose in the work frame.
Pose tool_pose(const ArmConfig& arm, const std::vector<double>& joints_deg);

// Joint angles (degrees) that put the tool at `target` (in the work frame),
// starting from `joints_deg` and staying inside the joint limits. Damped
// least squares on the chain; true when the pose is reached within 1e-6 m
// and 1e-6 rad, with `joints_deg` then holding the answer.
bool solve_tool_pose(const ArmConfig& arm, const Pose& target, std::vector<double>& joints_deg);

// Interpolates between two poses: the position along the line, the
// orientation along the shorter great arc. s runs from 0 to 1.
Pose interpolate_pose(const Pose& from, const Pose& to, double s);

// The angle of the rotation that takes one orientation to the other (rad):
// the turn `interpolate_pose` makes, whatever Euler angles name the two.
double rotation_angle(const Pose& from, const Pose& to);

}  // namespace zqsim
