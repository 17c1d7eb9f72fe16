// Sending a program file from the host: the optional headed copy, the
// announcement, the file in small pieces, and the controller's verdict.
#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "session/catalogue.h"
#include "platform/log.h"
#include "zq_api.h"

namespace zq {
namespace {

constexpr int kPathField = 300;
constexpr int kPiece = 100;        // bytes per send
constexpr int kPiecePause = 2;     // ms after each piece
constexpr int kVerdictBudget = 2000;
constexpr int kCopyBuffer = 1024;

using File = std::unique_ptr<FILE, int (*)(FILE*)>;

File open_file(const char* path, const char* mode) { return File(std::fopen(path, mode), std::fclose); }

// Position of the last separator ('/', failing that '\\'), or npos.
std::size_t last_separator(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash != std::string::npos ? slash : path.rfind('\\');
}

// The file name without directory and extension.
std::string project_name(const std::string& path) {
    const std::size_t sep = last_separator(path);
    std::string name = sep == std::string::npos ? path : path.substr(sep + 1);
    const std::size_t dot = name.rfind('.');
    if (dot != std::string::npos) name.erase(dot);
    return name.substr(0, kPathField - 1);
}

// Writes `to`: the two header lines the controller expects, then the file
// `from` byte for byte. False when it could not be written.
bool write_headed_copy(zq_robot_handle* handle, const char* from, const char* to) {
    int lines = 0;
    {
        File in = open_file(from, "r");
        if (!in) {
            platform::print_system_error("Failed to open the project file");
            return false;
        }
        char line[kCopyBuffer];
        while (std::fgets(line, sizeof line, in.get())) ++lines;
    }
    zq_robot_info_t info{};
    if (zq_get_robot_info(handle, &info) != 0) {
        log_error("Failed to get robot info\n");
        return false;
    }
    if (info.arm_dof < 1 || info.arm_dof > 10) {
        log_error("Invalid degree of freedom\n");
        return false;
    }
    File in = open_file(from, "rb");
    if (!in) {
        log_error("Failed to open file: %s\n", from);
        return false;
    }
    File out = open_file(to, "wb");
    if (!out) {
        platform::print_system_error("Error opening file");
        return false;
    }
    std::fprintf(out.get(), "{\"file\":%d}\r\n", info.arm_dof);
    std::fprintf(out.get(), "{\"name\":\"Folder\",\"num\":1,\"type\":%d,\"enabled\":true,\"parent_number\":0}\r\n",
                 lines);
    char buf[kCopyBuffer];
    std::size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, in.get())) > 0) {
        if (std::fwrite(buf, 1, n, out.get()) != n) return false;
    }
    return true;
}

// The whole file, or -5 with its failure line.
int read_whole(const std::string& path, std::string* data) {
    File in = open_file(path.c_str(), "rb");
    if (!in) {
        log_error("File open failed\n");
        return -5;
    }
    long size = -1;
    if (std::fseek(in.get(), 0, SEEK_END) == 0) size = std::ftell(in.get());
    if (size < 0 || size > INT_MAX - 1 || std::fseek(in.get(), 0, SEEK_SET) != 0) {
        log_error("Failed to get file size\n");
        return -5;
    }
    data->assign(static_cast<std::size_t>(size), '\0');
    if (size > 0 && std::fread(&(*data)[0], 1, data->size(), in.get()) != data->size()) {
        log_error("Failed to read entire file\n");
        return -5;
    }
    return 0;
}

// Sends the file in pieces of 100 bytes with a pause after each. A piece ends
// early at a NUL byte; the position moves on by 100 all the same.
int send_pieces(zq_robot_handle* handle, const std::string& data) {
    std::shared_lock<platform::RwLock> lock(pool_lock());
    zq_robot_session* session = find_session(handle);
    if (!session || !session->socket) return -1;
    for (std::size_t pos = 0; pos < data.size(); pos += kPiece) {
        if (stopping()) return -1;
        const std::size_t room = std::min<std::size_t>(kPiece, data.size() - pos);
        const std::size_t len = strnlen(data.data() + pos, room);
        if (len > 0 && session->socket->zq_socket_send_retry(session->socket, data.data() + pos,
                                                             static_cast<int>(len)) != 0)
            return -1;
        platform::sleep_ms(kPiecePause);
    }
    return 0;
}

}  // namespace
}  // namespace zq

using namespace zq;

extern "C" int zq_send_project(zq_robot_handle* handle, zq_send_project_t project, int* err_line) {
    const char* fn = "zq_send_project";
    if (!err_line) return -4;
    const int gate = generation_gate(handle, 3, -6);
    if (gate != 0) return gate;
    const std::size_t take = static_cast<std::size_t>(std::clamp(project.project_path_len, 0, kPathField - 1));
    std::string path(project.project_path, strnlen(project.project_path, take));
    const std::string name = project_name(path);
    if (project.project_type != 0) {
        const platform::LocalTime t = platform::local_time();
        char stamp[16];
        std::snprintf(stamp, sizeof stamp, "%02d_%02d_%02d", t.hour, t.minute, t.second);
        const std::string saved = (name + stamp + ".txt").substr(0, kPathField - 1);
        log_debug("Save As: [%s]\n", saved.c_str());
        const std::size_t sep = last_separator(path);
        std::string headed;
        if (sep != std::string::npos) headed = path.substr(0, sep + 1) + path[sep] + saved;
        if (!headed.empty() && !write_headed_copy(handle, path.c_str(), headed.c_str())) return -5;
        path = headed;
    }
    std::string data;
    int rc = read_whole(path, &data);
    if (rc != 0) return rc;
    zq_send_value_t values[] = {send_str("command", "run_project"),
                                send_str("project_name", name.c_str()),
                                send_int("file_size", static_cast<int32_t>(data.size())),
                                send_int("plan_speed", project.plan_speed),
                                send_int("step_flag", project.step_flag),
                                send_int("only_save", project.only_save),
                                send_int("save_id", project.save_id)};
    rc = cat::set(fn, handle, values, 7, "run_project", "project_state", query_timeout());
    if (rc != 0) {
        log_error("[zq_run_project] failed\n");
        return rc;
    }
    rc = send_pieces(handle, data);
    if (rc != 0) return rc;
    char out[cat::kReplyBuffer] = {0};
    const int n = zq_command_exchange(fn, handle, nullptr, 0, "download_project", out, sizeof out, kVerdictBudget);
    if (n < 1) return n;
    rc = zq_parse_state(fn, out, "project_state");
    if (rc == 0) {
        *err_line = -1;
        return 0;
    }
    std::unique_ptr<cJSON, void (*)(cJSON*)> root(cJSON_Parse(out), cJSON_Delete);
    const cJSON* line = cJSON_GetObjectItemCaseSensitive(root.get(), "err_line");
    if (cJSON_IsNumber(line)) *err_line = line->valueint;
    return rc;
}
