// Random rules on random configurations, decided a second time by going through all rules for each node and comparing
// paths as text.
#include <map>
#include <random>
#include <regex>

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <libyang/libyang.h>

#include "access_fixture.h"
#include "server/edit_request.h"

namespace qnips::test
{
namespace
{

struct PlainRule {
    bool for_staff = true; // otherwise for a group that ann is not in
    std::string path;      // without prefixes; "" for any node
    std::string operations;
    bool permit = false;
};

struct PlainRules {
    bool read_default = true;
    bool write_default = false;
    std::vector<PlainRule> rules;
};

const std::vector<std::string> rule_paths = {"",
                                             "/",
                                             "/interfaces",
                                             "/interfaces/interface",
                                             "/interfaces/interface[name='a']",
                                             "/interfaces/interface[name='b']/unit",
                                             "/interfaces/interface/unit[number='1']",
                                             "/interfaces/interface[name='a']/unit[number='2']/text",
                                             "/interfaces/interface/mtu",
                                             "/interfaces/interface/name",
                                             "/interfaces/interface[name='c']/address[.='x']",
                                             "/device",
                                             "/device/name",
                                             "/device/link",
                                             "/device/link/speed",
                                             "/routes/route[prefix='p'][metric='1']"};
const std::vector<std::string> operation_sets = {
    "*", "read", "create", "update", "delete", "read update", "create update delete"};

template <class T>
const T& any_of(const std::vector<T>& values, std::mt19937& random)
{
    return values[random() % values.size()];
}

bool coin(std::mt19937& random)
{
    return random() % 2 == 0;
}

PlainRules random_rules(std::mt19937& random)
{
    PlainRules rules{coin(random), coin(random), {}};
    for (std::size_t count = random() % 8; count > 0; --count)
        rules.rules.push_back(
            {random() % 5 != 0, any_of(rule_paths, random), any_of(operation_sets, random), coin(random)});
    return rules;
}

AccessRules rules_for(const PlainRules& plain)
{
    static const std::regex name("([/\\[])([a-z])");
    std::string lists;
    for (const PlainRule& plain_rule : plain.rules) {
        const std::string path = std::regex_replace(plain_rule.path, name, "$1at:$2");
        lists += fmt::format("<rule-list><name>{}</name><group>{}</group>{}</rule-list>", lists.size(),
                             plain_rule.for_staff ? "staff" : "others",
                             rule(path.empty() ? "" : fmt::format("<path>{}</path>", path), plain_rule.operations,
                                  plain_rule.permit ? "permit" : "deny"));
    }
    return rules_of(fmt::format("<read-default>{}</read-default><write-default>{}</write-default>"
                                "<groups><group><name>staff</name><user-name>ann</user-name></group>"
                                "<group><name>others</name><user-name>bob</user-name></group></groups>{}",
                                plain.read_default ? "permit" : "deny", plain.write_default ? "permit" : "deny",
                                lists));
}

// Whether a path as text covers the node at another one: a step without predicates stands for any.
bool covers(const std::string& path, const std::string& node)
{
    if (path.empty() || path == "/")
        return true;
    static std::map<std::string, std::regex> patterns;
    auto known = patterns.find(path);
    if (known == patterns.end()) {
        static const std::regex special("([\\[\\].])");
        static const std::regex step_end("([a-z])(/|$)");
        std::string pattern = std::regex_replace(path, special, "\\$1");
        pattern = std::regex_replace(pattern, step_end, "$1(?:\\[[^\\]]*\\])*$2") + "(?:/.*)?";
        known = patterns.emplace(path, std::regex(pattern)).first;
    }
    return std::regex_match(node, known->second);
}

bool expected(const PlainRules& rules, const std::string& operation, const std::string& node)
{
    for (const PlainRule& rule : rules.rules) {
        const bool about = rule.operations == "*" || rule.operations.find(operation) != std::string::npos;
        if (rule.for_staff && about && covers(rule.path, node))
            return rule.permit;
    }
    return operation == "read" ? rules.read_default : rules.write_default;
}

std::string random_roots(std::mt19937& random)
{
    std::string interfaces;
    for (const char* name : {"a", "b", "c"}) {
        if (random() % 3 == 0)
            continue;
        interfaces += fmt::format("<interface><name>{}</name>", name);
        if (coin(random))
            interfaces += fmt::format("<mtu>{}</mtu>", random() % 3);
        for (const char* address : {"x", "y"})
            interfaces += coin(random) ? fmt::format("<address>{}</address>", address) : "";
        for (int number = 1; number <= 2; ++number)
            if (coin(random))
                interfaces += fmt::format("<unit><number>{}</number><text>{}</text></unit>", number, random() % 2);
        interfaces += "</interface>";
    }
    std::string text;
    if (!interfaces.empty())
        text += fmt::format("<interfaces>{}</interfaces>", interfaces);
    if (coin(random))
        text += fmt::format("<routes><route><prefix>p</prefix><metric>{}</metric></route></routes>", random() % 2);
    return text + fmt::format("<device><name>{}</name>{}</device>", random() % 2,
                              coin(random) ? fmt::format("<link><speed>{}</speed></link>", random() % 2) : "");
}

// The path as text, without the module.
std::string text_path(const lyd_node* node)
{
    std::string path = instance_path(node);
    path.erase(1, 3);
    return path;
}

// The leaves that are to be readable: they, all above them, and the keys of these.
void append_readable(const PlainRules& rules, const lyd_node* first, Lines& lines)
{
    for (const lyd_node* node = first; node != nullptr; node = node->next) {
        bool readable = expected(rules, "read", text_path(node));
        for (const lyd_node* key = lyd_child(node); key != nullptr && lysc_is_key(key->schema); key = key->next)
            readable = readable && expected(rules, "read", text_path(key));
        if (!readable)
            continue;
        if ((node->schema->nodetype & LYD_NODE_TERM) != 0)
            lines.push_back(text_path(node));
        else if (lyd_child(node) != nullptr)
            append_readable(rules, lyd_child(node), lines);
    }
}

Lines leaves_of(const lyd_node* first)
{
    Lines leaves;
    for (const std::string& line : lines_of(first))
        if (const std::size_t value = line.rfind('='); line.back() != ']' && value != std::string::npos)
            leaves.push_back("/" + line.substr(4, value - 4));
    return leaves;
}

TEST(RandomRules, LeaveWhatEveryNodeAboveLeaves)
{
    std::mt19937 random(20);
    std::size_t hidden = 0;
    std::size_t shown = 0;
    for (int round = 0; round < 400; ++round) {
        const PlainRules plain = random_rules(random);
        const std::string roots = random_roots(random);
        Lines wanted;
        const TreePtr all = tree_of(roots);
        append_readable(plain, all.get(), wanted);
        const TreePtr left = AccessControl(rules_for(plain)).readable(user("ann"), tree_of(roots));
        ASSERT_EQ(leaves_of(left.get()), wanted) << "round " << round << "\n" << roots;
        shown += wanted.size();
        hidden += leaves_of(all.get()).size() - wanted.size();
    }
    EXPECT_GT(hidden, 1000U);
    EXPECT_GT(shown, 1000U);
}

// The changes that are not permitted, each as its path.
void append_denied(const PlainRules& rules, const std::vector<Change*>& changes, Lines& denied)
{
    for (const Change* change : changes) {
        const std::string operation = change->is(XMLDIFF_ADD)   ? "create"
                                      : change->is(XMLDIFF_REM) ? "delete"
                                      : change->is(XMLDIFF_MOD) ? "update"
                                                                : "";
        if (!operation.empty() && !lysc_is_np_cont(change->schema) &&
            !expected(rules, operation, text_path(change->node)))
            denied.push_back(text_path(change->node));
        append_denied(rules, change->children, denied);
    }
}

TEST(RandomRules, PermitAnEditWhenTheyPermitEachOfItsChanges)
{
    std::mt19937 random(21);
    std::size_t refused = 0;
    std::size_t permitted = 0;
    for (int round = 0; round < 600; ++round) {
        const PlainRules plain = random_rules(random);
        ConfigTree tree(tree_of(random_roots(random)));
        const ConfigTree goal(tree_of(random_roots(random)));
        const AppliedEdit edit(tree, replacement(goal));
        Lines denied;
        append_denied(plain, edit.changes().roots(), denied);
        std::string path = "none";
        try {
            AccessControl(rules_for(plain)).check_writes(user("ann"), edit.changes());
        } catch (const RpcError& error) {
            path = error.path();
        }
        ASSERT_EQ(path == "none", denied.empty()) << "round " << round << " " << path;
        if (denied.empty()) {
            ++permitted;
            continue;
        }
        ++refused;
        // The path is that of the first one or, where that may not be read, of a node above it.
        ASSERT_TRUE(path.empty() || denied.front().starts_with("/" + path.substr(4))) << path << " " << denied.front();
    }
    EXPECT_GT(refused, 100U);
    EXPECT_GT(permitted, 100U);
}

} // namespace
} // namespace qnips::test
