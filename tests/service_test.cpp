// The service classes: every public function has its method, and the few
// methods that differ from their function do what they promise on the wire.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "service/service_list.h"
#include "test_env.h"
#include "zq_service.h"
#include "zq_version.h"

namespace {

// True for any function pointer: a static_assert on it compiles only where the cast finds the method.
template <typename F>
constexpr bool exists(F) { return true; }

static_assert(std::is_empty_v<ZQ_Service> && std::is_empty_v<ZQ_Internal>, "the classes have no state");

// A method of exactly its function's signature is a static function of the
// same pointer type (an overload of that name at least): a changed parameter
// can't slip through a conversion.
#define ZQ_SAME(name) static_assert(exists(static_cast<decltype(&::name)>(&ZQ_Service::name)), #name);
ZQ_SERVICE_SAME(ZQ_SAME)
#undef ZQ_SAME

// Methods that take a record by value exist once under the function's name.
#define ZQ_ONE(name) static_assert(std::is_function_v<std::remove_pointer_t<decltype(&ZQ_Service::name)>>, #name);
ZQ_SERVICE_BY_VALUE(ZQ_ONE)
#undef ZQ_ONE

// Functions without a method of their own name.
#define ZQ_HAS(name)                                                                          \
    template <typename T, typename = void>                                                    \
    struct has_##name : std::false_type {};                                                   \
    template <typename T>                                                                     \
    struct has_##name<T, std::void_t<decltype(&T::name)>> : std::true_type {};                \
    static_assert(!has_##name<ZQ_Service>::value, #name);
ZQ_SERVICE_NONE(ZQ_HAS)
#undef ZQ_HAS

// The hand-written overloads and forms, by their exact signatures.
using H = zq_robot_handle*;
static_assert(std::is_same_v<decltype(static_cast<int (*)(H, int, int, int, float)>(&ZQ_Service::zq_set_force_position)),
                             decltype(&::zq_set_force_position)>);
static_assert(exists(static_cast<int (*)(H, zq_force_position_t)>(&ZQ_Service::zq_set_force_position)));
static_assert(exists(static_cast<int (*)(H, int, int)>(&ZQ_Service::zq_start_multi_drag_teach)));
static_assert(exists(static_cast<int (*)(H, zq_multi_drag_teach_t)>(&ZQ_Service::zq_start_multi_drag_teach)));
static_assert(exists(static_cast<int (*)(H, int*, zq_version_t*)>(&ZQ_Service::zq_get_joint_software_version)));
static_assert(exists(static_cast<int (*)(H, int*)>(&ZQ_Service::zq_get_joint_software_version)));
static_assert(exists(static_cast<int (*)(H, int*, zq_version_t*)>(&ZQ_Service::zq_get_tool_software_version)));
static_assert(exists(static_cast<int (*)(H, int*)>(&ZQ_Service::zq_get_tool_software_version)));
static_assert(std::is_same_v<decltype(&ZQ_Service::zq_set_IO_mode), int (*)(H, int, int, int, int)>);
static_assert(std::is_same_v<decltype(&ZQ_Service::zq_get_IO_state), int (*)(H, int, int*, int*, int*, int*)>);
static_assert(std::is_same_v<decltype(&ZQ_Internal::zq_set_current_canfd_enable), int (*)(H, bool)>);
static_assert(std::is_same_v<decltype(&ZQ_Internal::zq_get_current_canfd_enable), int (*)(H, bool*)>);
static_assert(std::is_same_v<decltype(&ZQ_Internal::zq_current_canfd), int (*)(H, float*)>);

class ServiceArm : public zqtest::ArmTest {
protected:
    explicit ServiceArm(const std::string& model = "ZQ41-B-1.0") : ArmTest(model) {}
    std::string last() {
        auto lines = sim_.received_lines();
        return lines.empty() ? std::string() : lines.back();
    }
    ZQ_Service svc_;
};

TEST_F(ServiceArm, SetIoModeTakesSpeedModeBeforeSpeed) {
    ASSERT_EQ(svc_.zq_set_IO_mode(arm_, 1, 14, 2, 300), 0);
    EXPECT_EQ(last(), R"({"command":"set_IO_mode","IO_Num":1,"IO_mode":14,"realtime_speed":{"speed":300,"mode":2}})");
    const zq_io_config_t mode1{1, 0, 0};
    EXPECT_EQ(svc_.zq_set_IO_mode(arm_, 5, 1, 0, 0), ::zq_set_IO_mode(arm_, 5, &mode1));
}

TEST_F(ServiceArm, GetIoStateFillsWhatItIsGivenAndCopiesOutOnFailure) {
    ASSERT_EQ(svc_.zq_set_IO_mode(arm_, 1, 14, 2, 300), 0);
    int state = -7, mode = -7;
    ASSERT_EQ(svc_.zq_get_IO_state(arm_, 1, &state, &mode, nullptr, nullptr), 0);
    zq_io_get_t io{};
    ASSERT_EQ(::zq_get_IO_state(arm_, 1, &io), 0);
    EXPECT_EQ(state, io.io_state);
    EXPECT_EQ(mode, 14);
    int speed_mode = -7, speed = -7;
    ASSERT_EQ(svc_.zq_get_IO_state(arm_, 1, &state, &mode, &speed_mode, &speed), 0);
    EXPECT_EQ(speed_mode, 2);
    EXPECT_EQ(speed, 300);
    // An io_num out of range fails as the function does, and the zeroed record still comes out.
    EXPECT_EQ(svc_.zq_get_IO_state(arm_, -1, &state, &mode, &speed_mode, &speed), ::zq_get_IO_state(arm_, -1, &io));
    EXPECT_EQ(state | mode | speed_mode | speed, 0);
    EXPECT_EQ(svc_.zq_get_IO_state(arm_, 1, nullptr, nullptr, nullptr, nullptr), 0);
}

class ServiceGen3 : public ServiceArm {
protected:
    void SetUp() override {
        sim_.update([](zqsim::ArmConfig& a) { a.controller_version = "3.5.2"; });
        ServiceArm::SetUp();
        ASSERT_EQ(arm_->controller_version, 3);
    }
};

TEST_F(ServiceGen3, VersionOverloadsNeedNoTextRecord) {
    int plain[10] = {0}, method[10] = {0};
    zq_version_t texts[10] = {};
    ASSERT_EQ(::zq_get_joint_software_version(arm_, plain, texts), 0);
    ASSERT_EQ(svc_.zq_get_joint_software_version(arm_, method), 0);
    for (int i = 0; i < arm_->arm_dof; ++i) EXPECT_EQ(method[i], plain[i]) << i;
    EXPECT_NE(method[0], 0);
    int tool_plain = -1, tool_method = -2;
    ASSERT_EQ(::zq_get_tool_software_version(arm_, &tool_plain, texts), 0);
    ASSERT_EQ(svc_.zq_get_tool_software_version(arm_, &tool_method), 0);
    EXPECT_EQ(tool_method, tool_plain);
}

TEST_F(ServiceArm, VersionOverloadsTakeGeneration4TextsIntoTheirOwnRecord) {
    int ints[10] = {0};
    EXPECT_EQ(svc_.zq_get_joint_software_version(arm_, ints), 0);
    EXPECT_EQ(svc_.zq_get_tool_software_version(arm_, ints), 0);
}

constexpr char kSixAxis[] = "ZQ41-6F-1.0";
class ServiceForce : public ServiceArm {
protected:
    ServiceForce() : ServiceArm(kSixAxis) {}
};

TEST_F(ServiceForce, RecordOverloadsSendWhatTheNewFormsSend) {
    zq_force_position_t fp{};
    fp.sensor = 1;
    fp.control_mode[2] = 1;
    fp.desired_force[2] = 2.5f;
    fp.limit_vel[0] = 0.25f;
    const zq_force_position_t copy = fp;
    const int rc = svc_.zq_set_force_position(arm_, fp);
    const std::string method = last();
    EXPECT_EQ(rc, ::zq_set_force_position_new(arm_, fp));
    EXPECT_EQ(method, last());
    EXPECT_EQ(0, std::memcmp(&copy, &fp, sizeof fp));

    zq_multi_drag_teach_t drag{{1, 1, 1, 0, 0, 0}, 0, 0};
    const int drag_rc = svc_.zq_start_multi_drag_teach(arm_, drag);
    const std::string drag_method = last();
    EXPECT_EQ(drag_rc, ::zq_start_multi_drag_teach_new(arm_, drag));
    EXPECT_EQ(drag_method, last());
}

TEST(ServiceLibrary, VersionTextIsThePlainFunctionsAndTheHeaders) {
    EXPECT_EQ(ZQ_Service::zq_api_version(), ::zq_api_version());
    EXPECT_EQ(std::string(ZQ_Service::zq_api_version()), "v" + std::to_string(ZQ_VERSION_MAJOR) + "." +
                                                            std::to_string(ZQ_VERSION_MINOR) + "." +
                                                            std::to_string(ZQ_VERSION_PATCH));
}

}  // namespace
