// The cache's tree: what a first file may hold, and the rule by which a name is changed.
#include "array/vdisk_entry.h"

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/dumps_redirect.h"

namespace {

using Lines = std::vector<std::string>;

struct DeleteTree {
    void operator()(cJSON *root) const {
        cJSON_Delete(root);
    }
};
using Tree = std::unique_ptr<cJSON, DeleteTree>;

std::string compact(const cJSON *root) {
    char *text = cJSON_PrintUnformatted(root);
    std::string copy = text == nullptr ? "(null)" : text;
    cJSON_free(text);
    return copy;
}

struct Outcome {
    unsigned int found = 7;
    unsigned int updated = 7;
    int index = 7;
    std::string tree;
};

class VdiskEntry : public testing::Test {
  protected:
    DumpsFolder dumps;

    // Applies the rule to the tree of `json`.
    static Outcome update(const std::string &json, const char *wwid, const char *name) {
        const Tree root(cJSON_Parse(json.c_str()));
        cJSON *item = cJSON_CreateString(name);
        Outcome outcome;
        EXPECT_EQ(
            update_wwid_vdiskname(root.get(), wwid, item, &outcome.found, &outcome.updated, &outcome.index),
            0);
        outcome.tree = compact(root.get());
        if (outcome.updated == 0) {
            cJSON_Delete(item);
        }
        return outcome;
    }
    static void expectOutcome(const Outcome &outcome, unsigned int found, unsigned int updated, int index,
                              const std::string &tree) {
        EXPECT_EQ(outcome.found, found);
        EXPECT_EQ(outcome.updated, updated);
        EXPECT_EQ(outcome.index, index);
        EXPECT_EQ(outcome.tree, tree);
    }
};

TEST_F(VdiskEntry, TypeTestsAreTrueOfExactlyTheirTypeAndFalseOfNothing) {
    const Tree root(cJSON_Parse(R"({"s":"","o":{},"a":[],"n":1,"t":true,"z":null})"));
    for (const cJSON *item = root->child; item != nullptr; item = item->next) {
        const char kind = item->string[0];
        EXPECT_EQ(isJsonString(item), kind == 's') << kind;
        EXPECT_EQ(isJsonObject(item), kind == 'o') << kind;
        EXPECT_EQ(isJsonArray(item), kind == 'a') << kind;
    }
    EXPECT_FALSE(isJsonString(nullptr));
    EXPECT_FALSE(isJsonObject(nullptr));
    EXPECT_FALSE(isJsonArray(nullptr));
    const Tree reference(cJSON_CreateStringReference("s"));
    EXPECT_FALSE(isJsonString(reference.get())); // not exactly the type
}

TEST_F(VdiskEntry, AFirstTreeHoldsTheOneEntry) {
    const Tree root(firstDiskTree("3600a", "vol 1 \xC3\xA9\tx"));
    EXPECT_EQ(compact(root.get()), "{\"disk\":[{\"wwid\":\"3600a\",\"vdisk_name\":\"vol 1 \xC3\xA9\\tx\"}]}");
}

TEST_F(VdiskEntry, WhatWouldNotComeBackFromTheTemplateMakesNoTree) {
    const std::vector<std::pair<std::string, std::string>> pairs = {
        {"3600a", "a\"b"},
        {"3600a", "a\\b"},
        {"3600a", "a\\n"},    // parses, but as another text
        {"3600a", "\\u0041"}, // the same
        {"3600a", "x\"}]}"},  // breaks out and parses
        {"3600a", "x\"}], \"y\": [{\"z\": \"w"},
        {"3600a", "x\"}, {\"wwid\": \"3600b\", \"vdisk_name\": \"y"},
        {"3600a", "x\", \"vdisk_name\": \"y"},
        {"3600a\",\n\"x\": \"y", "vol1"},
        {"3600a\\u0000", "vol1"},
        {"3600a\"", "vol1"},
        {"3600a", std::string(1024, 'n')},
        {std::string(1024, 'w'), "vol1"},
    };
    for (const auto &[wwid, name] : pairs) {
        EXPECT_EQ(Tree(firstDiskTree(wwid.c_str(), name.c_str())), nullptr) << wwid << " / " << name;
    }
}

TEST_F(VdiskEntry, TheTemplateHoldsTextsOf1023BytesInAll) {
    const size_t own = std::string("{\"disk\": [{\n\"wwid\": \"\",\n\"vdisk_name\":   \"\"}]\n}").size();
    const std::string fitting(1023 - own - 5, 'n');
    EXPECT_NE(Tree(firstDiskTree("3600a", fitting.c_str())), nullptr);
    // One more costs only the final brace, which the parse needs.
    EXPECT_EQ(Tree(firstDiskTree("3600a", (fitting + "n").c_str())), nullptr);
}

TEST_F(VdiskEntry, ANewNameReplacesTheOldOneInPlaceAndIsLogged) {
    const Outcome outcome = update(
        R"({"disk":[{"wwid":"a","vdisk_name":"1"},{"wwid":"b","vdisk_name":"2","x":3},{"wwid":"b","vdisk_name":"4"}]})",
        "b", "new");
    expectOutcome(
        outcome, 1, 1, 1,
        R"({"disk":[{"wwid":"a","vdisk_name":"1"},{"wwid":"b","vdisk_name":"new","x":3},{"wwid":"b","vdisk_name":"4"}]})");
    EXPECT_EQ(dumps.commandLogLines(),
              (Lines{"ERROR update_wwid_vdiskname # device (b), vdisk name change from (2) to (new).\n"}));
}

TEST_F(VdiskEntry, AnEmptyOldOrNewNameIsLoggedAsNull) {
    expectOutcome(update(R"({"disk":[{"wwid":"a","vdisk_name":""}]})", "a", "new"), 1, 1, 0,
                  R"({"disk":[{"wwid":"a","vdisk_name":"new"}]})");
    expectOutcome(update(R"({"disk":[{"wwid":"a","vdisk_name":"old"}]})", "a", ""), 1, 1, 0,
                  R"({"disk":[{"wwid":"a","vdisk_name":""}]})");
    EXPECT_EQ(dumps.commandLogLines(),
              (Lines{"ERROR update_wwid_vdiskname # device (a), vdisk name change from (NULL) to (new).\n",
                     "ERROR update_wwid_vdiskname # device (a), vdisk name change from (old) to (NULL).\n"}));
}

TEST_F(VdiskEntry, TheSameNameOrOneThatIsNoStringIsFoundAndNotUpdated) {
    for (const char *json : {R"({"disk":[{"wwid":"a","vdisk_name":"new"}]})",
                             R"({"disk":[{"wwid":"a","vdisk_name":5}]})", R"({"disk":[{"wwid":"a"}]})"}) {
        expectOutcome(update(json, "a", "new"), 1, 0, 0, json);
    }
    EXPECT_FALSE(dumps.has("dravik_cli.log"));
}

TEST_F(VdiskEntry, NothingIsFoundWithoutADiskArrayOrAnEqualWwid) {
    for (const char *json :
         {"{}", R"({"disk":{}})", R"({"disk":"a"})", R"({"disk":[]})", R"([{"wwid":"a"}])", "5",
          R"({"disk":[{"wwid":"A","vdisk_name":"1"},{"wwid":"aa","vdisk_name":"1"},{"wwid":5},{}]})"}) {
        expectOutcome(update(json, "a", "new"), 0, 0, 0, json);
    }
    EXPECT_FALSE(dumps.has("dravik_cli.log"));
}

TEST_F(VdiskEntry, AnElementThatIsNoObjectEndsTheSearchEvenIfALaterOneMatches) {
    expectOutcome(update(R"({"disk":[{"wwid":"b"},7,{"wwid":"a","vdisk_name":"1"}]})", "a", "new"), 0, 0, 0,
                  R"({"disk":[{"wwid":"b"},7,{"wwid":"a","vdisk_name":"1"}]})");
    EXPECT_EQ(dumps.commandLogLines(),
              (Lines{"ERROR update_wwid_vdiskname # Invalid JSON format for json property .\n"}));
    dumps.forgetLogs();
    expectOutcome(update(R"({"disk":[{"wwid":"a","vdisk_name":"1"},7]})", "a", "new"), 1, 1, 0,
                  R"({"disk":[{"wwid":"a","vdisk_name":"new"},7]})");
}

TEST_F(VdiskEntry, ATreeThatDidNotParseIsLoggedWithThePlaceOfTheError) {
    EXPECT_EQ(cJSON_Parse("{\"disk\": oops}"), nullptr);
    cJSON *item = cJSON_CreateString("new");
    Outcome outcome;
    EXPECT_EQ(update_wwid_vdiskname(nullptr, "a", item, &outcome.found, &outcome.updated, &outcome.index), 0);
    cJSON_Delete(item);
    expectOutcome(outcome, 0, 0, 0, "");
    EXPECT_EQ(dumps.commandLogLines(), (Lines{"ERROR update_wwid_vdiskname # Error before: [oops}]\n"}));
}

} // namespace
