// The report's JSON reader agrees with cJSON_ParseWithLength on what is JSON and on every node.
#include <gtest/gtest.h>

#include <cjson/cJSON.h>

#include <cstring>
#include <string>
#include <vector>

#include "session/report_json.h"

namespace {

bool same_text(const char* a, const char* b) { return (!a || !b) ? a == b : std::strcmp(a, b) == 0; }

bool same(const cJSON* a, const cJSON* b) {
    for (; a && b; a = a->next, b = b->next) {
        if ((a->type & 0xFF) != (b->type & 0xFF) || !same_text(a->string, b->string)) return false;
        if (cJSON_IsString(a) && !same_text(a->valuestring, b->valuestring)) return false;
        if (cJSON_IsNumber(a) && (a->valueint != b->valueint ||
                                  std::memcmp(&a->valuedouble, &b->valuedouble, sizeof(double)) != 0))
            return false;
        if (!same(a->child, b->child)) return false;
    }
    return !a && !b;
}

void expect_agreement(const std::string& text) {
    cJSON* reference = cJSON_ParseWithLength(text.data(), text.size());
    const cJSON* fast = zq::parse_report_json(text.data(), text.size());
    EXPECT_EQ(reference == nullptr, fast == nullptr) << text;
    if (reference && fast) {
        EXPECT_TRUE(same(reference, fast)) << text;
    }
    cJSON_Delete(reference);
}

TEST(ReportJson, AgreesWithCJsonOnEdgeCases) {
    const std::vector<std::string> texts = {
        "{}", "[]", "{\"a\":1}", " \t\r\n{\"a\":[1,2,3]} ", "{\"a\":1}trailing", "\xEF\xBB\xBF{\"a\":1}",
        "\xEF\xBB\xBF{}", "{\"a\":1,}", "[1,]", "[,1]", "{\"a\" 1}", "{a:1}", "{\"a\":1", "[1 2]",
        std::string("[1,\0 2]", 7), std::string("{\"a\":\"x\0y\"}", 11),
        "[-0]", "[0123]", "[1.5e3,-2.25E-2,1e999,-1e999]", "[1e,2]", "[-]", "[+1]", "[.5]", "[1.]",
        "[2147483647,2147483648,-2147483648,-2147483649]", "[123456789012345678901234567890]",
        "[" + std::string(200, '7') + "]", "[9007199254740993]", "[1-2]", "[0x10]",
        "[\"\\u0041\\u00e9\\u20ac\\ud83d\\ude00\"]", "[\"\\ud83d\"]", "[\"\\ude00\"]", "[\"\\uZZZZ\"]",
        "[\"\\u12\"]", "[\"\\q\"]", "[\"\\\"\\\\\\/\\b\\f\\n\\r\\t\"]", "[\"abc]", "[\"a\\\"]",
        "[true,false,null]", "[tru]", "[nul]", "[falsey]", "nullx", "\"top\"", "42", "",  " ",
        "{\"a\":{\"b\":{\"c\":[[[]]]}}}", "{\"a\":1,\"a\":2}",
    };
    for (const std::string& t : texts) expect_agreement(t);
}

TEST(ReportJson, NestingLimitIsCJsons) {
    for (int depth : {999, 1000, 1001, 1500}) {
        expect_agreement(std::string(static_cast<std::size_t>(depth), '[') +
                         std::string(static_cast<std::size_t>(depth), ']'));
    }
}

TEST(ReportJson, TreeLastsUntilTheNextParse) {
    const std::string text = R"({"k":"v","n":[1,2]})";
    const cJSON* root = zq::parse_report_json(text.data(), text.size());
    ASSERT_NE(root, nullptr);
    EXPECT_STREQ(cJSON_GetObjectItemCaseSensitive(root, "k")->valuestring, "v");
    EXPECT_EQ(cJSON_GetArraySize(cJSON_GetObjectItemCaseSensitive(root, "n")), 2);
    EXPECT_EQ(zq::parse_report_json(nullptr, 0), nullptr);
}

}  // namespace
