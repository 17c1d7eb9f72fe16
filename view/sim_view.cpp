#include "sim_view.h"

#include "viewer.h"
#include "zq_api.h"

namespace zqview {

SimulatorView::SimulatorView(int sim_port, int http_port) {
    if (zq_init(ZQ_RECV_UDP_THREAD_MODE) != 0) {
        error_ = "the library did not start";
        return;
    }
    zq_robot_handle* arm = zq_create_robot_arm("127.0.0.1", sim_port);
    if (!arm || arm->id < 0) {
        if (arm) zq_delete_robot_arm(arm);  // a failed handle is deleted all the same
        error_ = "cannot connect to the simulator";
        return;
    }
    arm_ = arm;
    enable_reports(arm, "127.0.0.1");
    Options opt;
    opt.port = http_port;
    viewer_.reset(new Viewer(arm, opt));
    if (viewer_->start() < 0) {
        error_ = viewer_->error();
        return;
    }
    url_ = viewer_->url();
}

SimulatorView::~SimulatorView() {
    if (viewer_) viewer_->stop();
    viewer_.reset();
    if (arm_) zq_delete_robot_arm(static_cast<zq_robot_handle*>(arm_));
    zq_destroy();
}

}  // namespace zqview
