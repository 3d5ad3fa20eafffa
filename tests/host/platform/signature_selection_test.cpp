// Which signatures each criterion of a signature set selects.
#include "platform/signature_selection.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace qnips
{

namespace
{

const std::string catalogue_text =
    "category | Injection | SQL, Command\n"
    "category | Flood | -\n"
    "signature | 2001 | SQL     | a | high   | server | windows, ios | database, web | HTTP | block | enable  | - | d\n"
    "signature | 2002 | Command | b | medium | client | unix-like    | web           | HTTP | alert | disable | - | d\n"
    "signature | 2003 | Flood   | c | low    | both   | other        | -             | DNS  | alert | enable  | - | "
    "d\n";

const DevicePath set = {{"user-defined-ips", ""}, {"vsys", "branch"},     {"profiles", ""},
                        {"profile", "webguard"},  {"signature-sets", ""}, {"signature-set", "a"}};

// A node below the signature set: the steps that lead to it, and its value.
struct Criterion {
    DevicePath path;
    std::string value = {};
};

struct SelectionCase {
    std::string name;
    std::vector<Criterion> criteria;
    std::vector<std::uint32_t> selected;

    friend void PrintTo(const SelectionCase& test, std::ostream* out) { *out << test.name; }
};

class SignatureSelected : public ::testing::TestWithParam<SelectionCase>
{
};

TEST_P(SignatureSelected, ByItsCriteria)
{
    DeviceTree tree;
    tree.set(set);
    for (const Criterion& criterion : GetParam().criteria) {
        DevicePath path = set;
        path.insert(path.end(), criterion.path.begin(), criterion.path.end());
        tree.set(path, criterion.value);
    }
    std::istringstream text(catalogue_text);
    const SignatureCatalogue catalogue(text);

    const DeviceReader profile =
        DeviceReader(tree).at("user-defined-ips").entry("vsys", "branch").at("profiles").entry("profile", "webguard");
    const SignatureSelection selection(profile.at("signature-sets").entry("signature-set", "a"));
    std::vector<std::uint32_t> selected;
    for (const Signature& signature : catalogue.signatures()) {
        if (selection.selects(signature))
            selected.push_back(signature.id);
    }
    EXPECT_EQ(selected, GetParam().selected);
}

const std::vector<std::uint32_t> every = {2001, 2002, 2003};

Criterion leaf(const std::string& name, const std::string& value)
{
    return {.path = {{name, ""}}, .value = value};
}

Criterion value(const std::string& leaf_list, const std::string& word)
{
    return {.path = {{leaf_list, word}}};
}

Criterion single(const std::string& container, const std::string& list, const std::string& key)
{
    return {.path = {{container, ""}, {list, key}}};
}

Criterion all(const std::string& container, const std::string& value)
{
    return {.path = {{container, ""}, {"all-" + container, ""}}, .value = value};
}

Criterion of_category(const std::string& category, DeviceStep step, std::string value = {})
{
    return {.path = {{"category", ""}, {"specifed-category", category}, std::move(step)}, .value = std::move(value)};
}

INSTANTIATE_TEST_SUITE_P(
    Criteria, SignatureSelected,
    ::testing::Values(
        SelectionCase{"nothing said", {}, every}, //
        SelectionCase{"target both", {leaf("target", "both")}, every},
        SelectionCase{"target server", {leaf("target", "server")}, {2001, 2003}},
        SelectionCase{"target client", {leaf("target", "client")}, {2002, 2003}},
        SelectionCase{"one severity", {value("severity", "high")}, {2001}},
        SelectionCase{"two severities", {value("severity", "high"), value("severity", "low")}, {2001, 2003}},
        SelectionCase{"a severity that no signature has", {value("severity", "information")}, {}},
        SelectionCase{"one operating system", {value("operating-system", "ios")}, {2001}},
        SelectionCase{"two operating systems",
                      {value("operating-system", "ios"), value("operating-system", "other")},
                      {2001, 2003}},
        SelectionCase{"all applications", {all("application", "true")}, every},
        SelectionCase{"not all applications and no single one", {all("application", "false")}, every},
        SelectionCase{"an application of two signatures",
                      {all("application", "false"), single("application", "specifed-application", "web")},
                      {2001, 2002}},
        SelectionCase{"an application of one signature",
                      {all("application", "false"), single("application", "specifed-application", "database")},
                      {2001}},
        SelectionCase{"all protocols", {all("protocol", "true")}, every},
        SelectionCase{"a protocol", {all("protocol", "false"), single("protocol", "specifed-protocol", "DNS")}, {2003}},
        SelectionCase{"all categories", {all("category", "true")}, every},
        SelectionCase{"a category with all its sub-categories",
                      {all("category", "false"), of_category("Injection", {"all-sub-category", ""}, "true")},
                      {2001, 2002}},
        SelectionCase{"a sub-category",
                      {all("category", "false"), of_category("Injection", {"all-sub-category", ""}, "false"),
                       of_category("Injection", {"sub-category", "Command"})},
                      {2002}},
        SelectionCase{"a category that is not divided",
                      {all("category", "false"), of_category("Flood", {"all-sub-category", ""}, "true")},
                      {2003}},
        SelectionCase{"a sub-category and another category",
                      {all("category", "false"), of_category("Injection", {"sub-category", "SQL"}),
                       of_category("Flood", {"all-sub-category", ""}, "true")},
                      {2001, 2003}},
        SelectionCase{"several criteria, which must all hold",
                      {value("severity", "high"), value("severity", "medium"), leaf("target", "client")},
                      {2002}}));

} // namespace

} // namespace qnips
