// Tables of tests: each row is a rule with its cases, and each rule is a test of its own, named by the sentence that
// states it.
//
//   const Rule<std::pair<const char *, int>> RULES[] = {{"AnEmptyTextHasNoLength", {{"", 0}}}, ...};
//   class Length : public testing::TestWithParam<Rule<std::pair<const char *, int>>> {};
//   TEST_P(Length, IsAsItsRuleSays) { for (const auto &[text, length] : GetParam().cases) ... }
//   INSTANTIATE_TEST_SUITE_P(Rule, Length, testing::ValuesIn(RULES), nameOfRule);
#pragma once

#include <ostream>
#include <string>
#include <vector>

template <typename Case> struct Rule {
    const char *name;
    std::vector<Case> cases;
};

template <typename Case> std::ostream &operator<<(std::ostream &out, const Rule<Case> &rule) {
    return out << rule.name;
}

inline constexpr auto nameOfRule = [](const auto &row) { return std::string(row.param.name); };
