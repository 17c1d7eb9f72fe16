#include "session/report_json.h"

#include <climits>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace zq {
namespace {

constexpr int kNestingLimit = 1000;  // as cJSON's

struct Arena {
    std::vector<cJSON> nodes;
    std::vector<char> text;
    std::size_t used_nodes = 0;
    std::size_t used_text = 0;

    void reset(std::size_t len) {
        // Every value takes at least one byte of input, and no string grows when unescaped.
        if (nodes.size() < len + 1) nodes.resize(len + 1);
        if (text.size() < 2 * len + 2) text.resize(2 * len + 2);
        used_nodes = 0;
        used_text = 0;
    }
    cJSON* node() {
        cJSON* n = &nodes[used_nodes++];
        std::memset(n, 0, sizeof *n);
        return n;
    }
};

struct Reader {
    const unsigned char* p;
    const unsigned char* end;
    Arena& a;
    int depth = 0;

    bool more() const { return p < end; }
    void skip_blanks() {
        while (p < end && *p <= 32) ++p;
    }
    bool literal(const char* word, std::size_t n) {
        if (static_cast<std::size_t>(end - p) < n || std::memcmp(p, word, n) != 0) return false;
        p += n;
        return true;
    }

    bool value(cJSON* item) {
        if (!more()) return false;
        const unsigned char c = *p;
        switch (c) {
            case 'n': item->type = cJSON_NULL; return literal("null", 4);
            case 'f': item->type = cJSON_False; return literal("false", 5);
            case 't':
                item->type = cJSON_True;
                item->valueint = 1;
                return literal("true", 4);
            case '"': item->type = cJSON_String; return string(&item->valuestring);
            case '[': return array(item);
            case '{': return object(item);
            default: break;
        }
        if (c == '-' || (c >= '0' && c <= '9')) return number(item);
        return false;
    }

    static void set_number(cJSON* item, double v) {
        item->type = cJSON_Number;
        item->valuedouble = v;
        if (v >= INT_MAX) {
            item->valueint = INT_MAX;
        } else if (v <= static_cast<double>(INT_MIN)) {
            item->valueint = INT_MIN;
        } else {
            item->valueint = static_cast<int>(v);
        }
    }

    // The characters cJSON hands to strtod: the run of digits, signs, exponents and points.
    bool number(cJSON* item) {
        std::size_t n = 0;
        bool plain = true;  // an optional '-' and digits only
        while (p + n < end) {
            const unsigned char c = p[n];
            if (c >= '0' && c <= '9') {
            } else if (c == '-') {
                if (n != 0) plain = false;
            } else if (c == '+' || c == 'e' || c == 'E' || c == '.') {
                plain = false;
            } else {
                break;
            }
            ++n;
        }
        const std::size_t digits = n - (p[0] == '-' ? 1 : 0);
        if (plain && digits >= 1 && digits <= 15) {
            // Exact in a double: what strtod gives for the same text.
            long long v = 0;
            for (std::size_t i = p[0] == '-' ? 1 : 0; i < n; ++i) v = v * 10 + (p[i] - '0');
            const double d = static_cast<double>(v);
            set_number(item, p[0] == '-' ? -d : d);
            p += n;
            return true;
        }
        // Scratch room behind the text used so far: the strings read take no more
        // bytes than they used of the input, and this run is still unread.
        char* buf = &a.text[a.used_text];
        const char point = *std::localeconv()->decimal_point;
        for (std::size_t i = 0; i < n; ++i) buf[i] = p[i] == '.' ? point : static_cast<char>(p[i]);
        buf[n] = '\0';
        char* after = nullptr;
        const double v = std::strtod(buf, &after);
        if (after == buf) return false;
        set_number(item, v);
        p += after - buf;
        return true;
    }

    static unsigned hex4(const unsigned char* s) {
        unsigned h = 0;
        for (int i = 0; i < 4; ++i) {
            const unsigned char c = s[i];
            unsigned d;
            if (c >= '0' && c <= '9') {
                d = c - '0';
            } else if (c >= 'A' && c <= 'F') {
                d = 10 + c - 'A';
            } else if (c >= 'a' && c <= 'f') {
                d = 10 + c - 'a';
            } else {
                return 0;  // as cJSON: an invalid digit makes the whole code 0
            }
            h = (h << 4) | d;
        }
        return h;
    }

    // A \u sequence at `in` (before `stop`) as UTF-8 into `out`; the input bytes used, or 0.
    static int utf16(const unsigned char* in, const unsigned char* stop, unsigned char** out) {
        if (stop - in < 6) return 0;
        const unsigned first = hex4(in + 2);
        if (first >= 0xDC00 && first <= 0xDFFF) return 0;
        unsigned long code;
        int used;
        if (first >= 0xD800 && first <= 0xDBFF) {
            const unsigned char* second = in + 6;
            if (stop - second < 6 || second[0] != '\\' || second[1] != 'u') return 0;
            const unsigned low = hex4(second + 2);
            if (low < 0xDC00 || low > 0xDFFF) return 0;
            code = 0x10000 + (((first & 0x3FF) << 10) | (low & 0x3FF));
            used = 12;
        } else {
            code = first;
            used = 6;
        }
        int len;
        unsigned char mark;
        if (code < 0x80) {
            len = 1;
            mark = 0;
        } else if (code < 0x800) {
            len = 2;
            mark = 0xC0;
        } else if (code < 0x10000) {
            len = 3;
            mark = 0xE0;
        } else {
            len = 4;
            mark = 0xF0;
        }
        for (int i = len - 1; i > 0; --i) {
            (*out)[i] = static_cast<unsigned char>((code | 0x80) & 0xBF);
            code >>= 6;
        }
        (*out)[0] = len > 1 ? static_cast<unsigned char>((code | mark) & 0xFF) : static_cast<unsigned char>(code & 0x7F);
        *out += len;
        return used;
    }

    bool string(char** result) {
        if (!more() || *p != '"') return false;
        const unsigned char* start = p + 1;
        const unsigned char* stop = start;
        while (stop < end && *stop != '"') {
            if (*stop == '\\') {
                if (stop + 1 >= end) return false;
                ++stop;
            }
            ++stop;
        }
        if (stop >= end) return false;
        unsigned char* out = reinterpret_cast<unsigned char*>(&a.text[a.used_text]);
        unsigned char* const first = out;
        for (const unsigned char* in = start; in < stop;) {
            if (*in != '\\') {
                *out++ = *in++;
                continue;
            }
            int used = 2;
            switch (in[1]) {
                case 'b': *out++ = '\b'; break;
                case 'f': *out++ = '\f'; break;
                case 'n': *out++ = '\n'; break;
                case 'r': *out++ = '\r'; break;
                case 't': *out++ = '\t'; break;
                case '"':
                case '\\':
                case '/': *out++ = in[1]; break;
                case 'u':
                    used = utf16(in, stop, &out);
                    if (used == 0) return false;
                    break;
                default: return false;
            }
            in += used;
        }
        *out++ = '\0';
        *result = reinterpret_cast<char*>(first);
        a.used_text += static_cast<std::size_t>(out - first);
        p = stop + 1;
        return true;
    }

    bool array(cJSON* item) {
        if (depth >= kNestingLimit) return false;
        ++depth;
        item->type = cJSON_Array;
        ++p;
        skip_blanks();
        if (more() && *p == ']') {
            ++p;
            --depth;
            return true;
        }
        cJSON* last = nullptr;
        do {
            if (last) ++p;  // the comma
            skip_blanks();
            cJSON* child = a.node();
            if (!value(child)) return false;
            if (last) {
                last->next = child;
                child->prev = last;
            } else {
                item->child = child;
            }
            last = child;
            skip_blanks();
        } while (more() && *p == ',');
        if (!more() || *p != ']') return false;
        item->child->prev = last;
        ++p;
        --depth;
        return true;
    }

    bool object(cJSON* item) {
        if (depth >= kNestingLimit) return false;
        ++depth;
        item->type = cJSON_Object;
        ++p;
        skip_blanks();
        if (more() && *p == '}') {
            ++p;
            --depth;
            return true;
        }
        cJSON* last = nullptr;
        do {
            if (last) ++p;  // the comma
            skip_blanks();
            cJSON* child = a.node();
            if (!string(&child->string)) return false;
            skip_blanks();
            if (!more() || *p != ':') return false;
            ++p;
            skip_blanks();
            if (!value(child)) return false;
            if (last) {
                last->next = child;
                child->prev = last;
            } else {
                item->child = child;
            }
            last = child;
            skip_blanks();
        } while (more() && *p == ',');
        if (!more() || *p != '}') return false;
        item->child->prev = last;
        ++p;
        --depth;
        return true;
    }
};

thread_local Arena t_arena;

}  // namespace

const cJSON* parse_report_json(const char* data, std::size_t len) {
    if (!data || len == 0) return nullptr;
    Arena& a = t_arena;
    a.reset(len);
    Reader r{reinterpret_cast<const unsigned char*>(data), reinterpret_cast<const unsigned char*>(data) + len, a};
    if (len > 4 && std::memcmp(r.p, "\xEF\xBB\xBF", 3) == 0) r.p += 3;
    r.skip_blanks();
    cJSON* root = a.node();
    return r.value(root) ? root : nullptr;
}

}  // namespace zq
