// Software information: what the controller runs, and from it the arm's
// model, joint count, force type and controller generation.
#include <cstdio>
#include <cstring>

#include "session/catalogue.h"
#include "platform/log.h"
#include "zq_api.h"

namespace zq {
namespace {

// First substring of the product version that matches decides; the order
// matters where one name contains another.
struct ModelRow {
    const char* substring;
    zq_robot_arm_model_e model;
    int dof;
};
const ModelRow kModels[] = {
    {"ZQ41", ZQ_MODEL_ZQ41_E, 6},       {"ZQ52", ZQ_MODEL_ZQ52_E, 7},       {"ZQL36III", ZQ_MODEL_ZQL36III_E, 6},
    {"ZQL36", ZQ_MODEL_ZQL36_E, 6},     {"VDA41", ZQ_MODEL_VDA41_E, 6},     {"VDA26", ZQ_MODEL_VDA26_E, 6},
    {"HTR27", ZQ_MODEL_HTR27_E, 7},     {"VDA36", ZQ_MODEL_VDA36_E, 6},     {"KWBL37", ZQ_MODEL_KWBL37_E, 7},
    {"KWBR37", ZQ_MODEL_KWBR37_E, 7},   {"MQL52II", ZQ_MODEL_MQL52II_E, 7}, {"MQR52II", ZQ_MODEL_MQR52II_E, 7},
    {"MQL52", ZQ_MODEL_MQL52_E, 7},     {"MQR52", ZQ_MODEL_MQR52_E, 7},     {"KWBL47", ZQ_MODEL_KWBL47_E, 7},
    {"KWBR47", ZQ_MODEL_KWBR47_E, 7},
};

struct ForceRow {
    const char* substring;
    zq_force_type_e force;
};
const ForceRow kForces[] = {
    {"-B-V", ZQ_MODEL_ZQ_B_V_E}, {"-B", ZQ_MODEL_ZQ_B_E},     {"-ZF", ZQ_MODEL_ZQ_ZF_E},
    {"-6FB-V", ZQ_MODEL_ZQ_6FB_V_E}, {"-6FB", ZQ_MODEL_ZQ_6FB_E}, {"-6F", ZQ_MODEL_ZQ_6F_E},
};

const char* kFn = "zq_get_arm_software_info";

// Copies a string member into a terminated field; false (with the member's
// own line) when it is missing or not a string.
bool copy_text(const cJSON* obj, const char* key, char* field, size_t size, const char* what) {
    const cJSON* item = cJSON_GetObjectItemCaseSensitive(obj, key);
    if (!cJSON_IsString(item)) {
        log_error("[zq_get_arm_software_info] %s parse err\n", what);
        return false;
    }
    std::snprintf(field, size, "%s", item->valuestring);
    return true;
}

// "version", then "-" and "commit_id" when there, as far as the field goes.
bool copy_version(const cJSON* obj, char* field, size_t size, const char* what) {
    if (!copy_text(obj, "version", field, size, what)) return false;
    const cJSON* commit = cJSON_GetObjectItemCaseSensitive(obj, "commit_id");
    if (cJSON_IsString(commit)) {
        size_t used = std::strlen(field);
        std::snprintf(field + used, size - used, "-%s", commit->valuestring);
    }
    return true;
}

// Parses the reply into `info`: 0, -3 for a missing key, -1 for a missing program version.
int parse_software_info(const cJSON* root, zq_arm_software_version_t* info, bool* generation4) {
    if (!copy_text(root, "Product_version", info->product_version, sizeof info->product_version, "Product version"))
        return -3;
    const cJSON* ctrl_version = cJSON_GetObjectItemCaseSensitive(root, "robot_controller_version");
    if (cJSON_IsString(ctrl_version)) {
        std::snprintf(info->controller_version, sizeof info->controller_version, "%.9s", ctrl_version->valuestring);
    }
    *generation4 = std::strcmp(info->controller_version, "4.0") == 0;
    if (*generation4) {
        const cJSON* program = cJSON_GetObjectItemCaseSensitive(root, "program_info");
        if (!program) {
            log_error("[zq_get_arm_software_info] program info parse err\n");
            return -3;
        }
        if (!copy_text(program, "version", info->program_info.version, sizeof info->program_info.version,
                       "program version"))
            return -1;
        if (!copy_text(program, "build_time", info->program_info.build_time, sizeof info->program_info.build_time,
                       "program build time"))
            return -3;
        const cJSON* comm = cJSON_GetObjectItemCaseSensitive(root, "communication_info");
        if (comm) {
            if (!copy_text(comm, "version", info->communication_info.version,
                           sizeof info->communication_info.version, "communication version") ||
                !copy_text(comm, "build_time", info->communication_info.build_time,
                           sizeof info->communication_info.build_time, "communication build time"))
                return -3;
        }
    }
    if (const cJSON* algo = cJSON_GetObjectItemCaseSensitive(root, "algorithm_info")) {
        if (!copy_text(algo, "version", info->algorithm_info.version, sizeof info->algorithm_info.version,
                       "Algorithm version"))
            return -3;
    }
    if (const cJSON* ctrl = cJSON_GetObjectItemCaseSensitive(root, "ctrl_info")) {
        if (!copy_version(ctrl, info->ctrl_info.version, sizeof info->ctrl_info.version, "Ctrl version") ||
            !copy_text(ctrl, "build_time", info->ctrl_info.build_time, sizeof info->ctrl_info.build_time,
                       "Ctrl build Time"))
            return -3;
    }
    if (const cJSON* dyn = cJSON_GetObjectItemCaseSensitive(root, "dynamic_info")) {
        if (!copy_text(dyn, "model_version", info->dynamic_info.model_version,
                       sizeof info->dynamic_info.model_version, "Dynamic model version"))
            return -3;
    }
    if (const cJSON* plan = cJSON_GetObjectItemCaseSensitive(root, "plan_info")) {
        if (!copy_version(plan, info->plan_info.version, sizeof info->plan_info.version, "Plan version") ||
            !copy_text(plan, "build_time", info->plan_info.build_time, sizeof info->plan_info.build_time,
                       "Plan build Time"))
            return -3;
    }
    return 0;
}

}  // namespace
}  // namespace zq

using namespace zq;

extern "C" {

int zq_get_arm_software_info(zq_robot_handle* handle, zq_arm_software_version_t* out_info) {
    char out[cat::kReplyBuffer] = {0};
    cJSON* root = nullptr;
    int rc = cat::get_tree(kFn, handle, "get_arm_software_info", "arm_software_info", query_timeout(), &root, out,
                           sizeof out);
    if (rc < 0) return rc;
    if (!root) {
        log_error("[zq_get_arm_software_info] Arm software info parse err\n");
        return -3;
    }
    zq_arm_software_version_t info{};
    bool generation4 = false;
    rc = parse_software_info(root, &info, &generation4);
    cJSON_Delete(root);
    if (rc != 0) return rc;
    if (out_info) *out_info = info;

    const ModelRow* model = nullptr;
    for (const ModelRow& row : kModels) {
        if (std::strstr(info.product_version, row.substring)) {
            model = &row;
            break;
        }
    }
    const ForceRow* force = nullptr;
    for (const ForceRow& row : kForces) {
        if (std::strstr(info.product_version, row.substring)) {
            force = &row;
            break;
        }
    }
    if (!model) log_info("Non-standard arm model: %s\n", info.product_version);
    if (!force) log_error("Unknown force type: %s\n", info.product_version);
    rc = store_in_handle(handle, [&](zq_robot_handle& h) {
        h.controller_version = generation4 ? 4 : 3;
        h.arm_model = model ? model->model : ZQ_MODEL_UNIVERSAL_E;
        h.arm_dof = model ? model->dof : 7;
        if (!model) h.sys_model = ZQ_MODEL_UNIVERSAL_E;
        if (force) h.force_type = force->force;
    });
    if (rc != 0) return rc;
    if (!force) return -1;
    // On an idle arm the reply carries the joint values and so the true joint count.
    zq_arm_current_trajectory_e type;
    float data[7];
    zq_get_arm_current_trajectory(handle, &type, data);
    return 0;
}

}  // extern "C"
