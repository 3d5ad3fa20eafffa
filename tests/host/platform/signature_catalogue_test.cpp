// The catalogue's text format, what it refuses, and the catalogue that is shipped.
#include "platform/signature_catalogue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace qnips
{

namespace
{

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::Ge;
using ::testing::IsEmpty;
using ::testing::Le;
using ::testing::SizeIs;

SignatureCatalogue read(const std::string& text)
{
    std::istringstream stream(text);
    return SignatureCatalogue(stream, "catalogue");
}

std::string refusal(const std::string& text)
{
    try {
        read(text);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "accepted";
}

const std::string categories = "category | Injection | SQL, Command\n"
                               "category | Flood | -\n";

// A signature's line with one of its fields replaced; the id is field 1.
std::string signature_with(std::size_t field, const std::string& value)
{
    std::vector<std::string> fields = {"signature", "2000", "SQL",   "A name", "high", "server",     "windows, ios",
                                       "database",  "HTTP", "block", "enable", "-",    "What it is."};
    fields.at(field) = value;
    std::string line = fields.front();
    for (std::size_t index = 1; index < fields.size(); index++)
        line += " | " + fields[index];
    return line + "\n";
}

std::string signature(const std::string& id)
{
    return signature_with(1, id);
}

TEST(SignatureCatalogue, ReadsEveryField)
{
    const SignatureCatalogue catalogue =
        read(categories + "signature | 1025 | Command | One | low | client | android, other | mail, web | SMTP | allow"
                          " | disable | 20  600 1000 source | Detects this.\n"
                          "signature|1026|Flood|Two|information|both|windows|-|DNS|alert|enable|-|Detects that.\n");
    const Signature one = {.id = 1025,
                           .name = "One",
                           .description = "Detects this.",
                           .severity = "low",
                           .target = "client",
                           .operating_systems = {"android", "other"},
                           .applications = {"mail", "web"},
                           .protocol = "SMTP",
                           .category = "Injection",
                           .sub_category = "Command",
                           .default_action = "allow",
                           .default_state = "disable",
                           .correlation = Correlation{20, 600, 1000, "source"}};
    const Signature two = {.id = 1026,
                           .name = "Two",
                           .description = "Detects that.",
                           .severity = "information",
                           .target = "both",
                           .operating_systems = {"windows"},
                           .applications = {},
                           .protocol = "DNS",
                           .category = "Flood",
                           .sub_category = "",
                           .default_action = "alert",
                           .default_state = "enable",
                           .correlation = std::nullopt};
    ASSERT_THAT(catalogue.signatures(), SizeIs(2));
    EXPECT_EQ(catalogue.signatures()[0], one);
    EXPECT_EQ(catalogue.signatures()[1], two);
}

TEST(SignatureCatalogue, FindsSignaturesByNumberInWhateverOrderTheyStand)
{
    const SignatureCatalogue catalogue =
        read(categories + signature("16777216") + signature("1025") + signature("3000"));
    std::vector<std::uint32_t> ids;
    for (const Signature& signature : catalogue.signatures()) {
        ids.push_back(signature.id);
        EXPECT_EQ(catalogue.find(signature.id), &signature);
    }
    EXPECT_THAT(ids, ElementsAre(1025, 3000, 16777216));
    for (const std::uint32_t id : {0U, 1024U, 1026U, 2999U, 3001U, 16777217U})
        EXPECT_EQ(catalogue.find(id), nullptr) << id;
}

TEST(SignatureCatalogue, TellsCategoriesFromSubCategories)
{
    const SignatureCatalogue catalogue = read(categories);
    EXPECT_THAT(catalogue.categories(), ElementsAre(Category{"Injection", {"SQL", "Command"}}, Category{"Flood", {}}));
    EXPECT_TRUE(catalogue.is_category("Injection"));
    EXPECT_TRUE(catalogue.is_category("Flood"));
    EXPECT_FALSE(catalogue.is_category("SQL"));
    EXPECT_FALSE(catalogue.is_category("injection"));
    EXPECT_FALSE(catalogue.is_category(""));
    EXPECT_EQ(catalogue.category_of("Command"), "Injection");
    EXPECT_EQ(catalogue.category_of("Injection"), std::nullopt);
    EXPECT_EQ(catalogue.category_of("Flood"), std::nullopt);
    EXPECT_EQ(catalogue.category_of("Other"), std::nullopt);
}

TEST(SignatureCatalogue, AcceptsCommentsContinuedLinesForeignLineEndsAndNoneAtTheEnd)
{
    const SignatureCatalogue catalogue =
        read("# about this file\r\n"
             "\r\n"
             "category | Injection\r\n"
             "         | SQL,\r\n"
             "\tCommand\r\n"
             "#category | Flood | -\r\n"
             "   \r\n"
             "category | Worm | -\r\n"
             "signature | 2000 | Worm | A name\r\n"
             "  of two lines | high | server | ios | - | DNS | alert | enable | - | d");
    EXPECT_EQ(catalogue.find(2000)->name, "A name of two lines");
    EXPECT_THAT(catalogue.categories(), ElementsAre(Category{"Injection", {"SQL", "Command"}}, Category{"Worm", {}}));
}

TEST(SignatureCatalogue, MayBeEmpty)
{
    const SignatureCatalogue catalogue = read("");
    EXPECT_THAT(catalogue.signatures(), IsEmpty());
    EXPECT_THAT(catalogue.categories(), IsEmpty());
    EXPECT_EQ(catalogue.find(1025), nullptr);
}

struct FieldCase {
    std::size_t field;
    std::string value;
    std::string reason;

    friend void PrintTo(const FieldCase& test, std::ostream* out) { *out << test.field << ": " << test.value; }
};

class SignatureField : public ::testing::TestWithParam<FieldCase>
{
};

TEST_P(SignatureField, IsRefusedWithLineAndReason)
{
    ASSERT_EQ(refusal(categories + signature("2000")), "accepted");
    EXPECT_EQ(refusal(categories + signature_with(GetParam().field, GetParam().value)),
              "catalogue:3: " + GetParam().reason);
}

const std::string id_bounds = " is no number of a signature: 1025 to 16777216";
const std::string no_word = ": one word without '\"' and '?', not 'all'";

INSTANTIATE_TEST_SUITE_P(
    Values, SignatureField,
    ::testing::Values(
        FieldCase{1, "1024", "'1024'" + id_bounds}, FieldCase{1, "16777217", "'16777217'" + id_bounds},
        FieldCase{1, "99999999999", "'99999999999'" + id_bounds}, FieldCase{1, "-1", "'-1'" + id_bounds},
        FieldCase{1, "2000a", "'2000a'" + id_bounds}, FieldCase{1, "", "''" + id_bounds},
        FieldCase{2, "Unknown", "unknown category 'Unknown'"}, FieldCase{2, "sql", "unknown category 'sql'"},
        FieldCase{2, "Injection", "category 'Injection' is divided: name one of its sub-categories"},
        FieldCase{3, "", "the name is empty"}, FieldCase{3, "a\tb", "the name holds more than printable ASCII"},
        FieldCase{3, "caf\xc3\xa9", "the name holds more than printable ASCII"},
        FieldCase{4, "severe", "'severe' is no severity: high, medium, low, information"},
        FieldCase{5, "peer", "'peer' is no target: both, client, server"},
        FieldCase{6, "windows, dos", "'dos' is no operating system: other, android, ios, unix-like, windows"},
        FieldCase{6, "-", "'-' is no operating system: other, android, ios, unix-like, windows"},
        FieldCase{6, "ios, ios", "'ios' stands there twice"}, FieldCase{7, "web,", "the application is empty"},
        FieldCase{7, "web server", "'web server' is no application" + no_word},
        FieldCase{7, "all", "'all' is no application" + no_word},
        FieldCase{7, std::string(128, 'x'),
                  "the application '" + std::string(128, 'x') + "' is longer than 127 characters"},
        FieldCase{8, "-", "'-' is no protocol" + no_word}, FieldCase{8, "a?", "'a?' is no protocol" + no_word},
        FieldCase{8, std::string(64, 'x'), "the protocol '" + std::string(64, 'x') + "' is longer than 63 characters"},
        FieldCase{9, "drop", "'drop' is no action: alert, block, allow"},
        FieldCase{10, "on", "'on' is no state: enable, disable"},
        FieldCase{11, "1 2 3", "'1 2 3' is no correlation: '-', or hits, seconds, minutes and which hits"},
        FieldCase{11, "501 60 5 source", "'501' is no threshold: 1 to 500"},
        FieldCase{11, "30 0 5 source", "'0' is no interval: 1 to 7200"},
        FieldCase{11, "30 60 1001 source", "'1001' is no block time: 1 to 1000"},
        FieldCase{11, "30 60 5 both", "'both' is no correlation: source, destination, source-destination"},
        FieldCase{12, "", "the description is empty"}, FieldCase{12, "a | b", "a signature has 13 fields, not 14"}));

struct TextCase {
    std::string text;
    std::string refusal;

    friend void PrintTo(const TextCase& test, std::ostream* out) { *out << test.text; }
};

class CatalogueText : public ::testing::TestWithParam<TextCase>
{
};

TEST_P(CatalogueText, IsRefusedWithLineAndReason)
{
    EXPECT_EQ(refusal(GetParam().text), GetParam().refusal);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, CatalogueText,
    ::testing::Values(
        TextCase{"\ncategories | a | b\n", "catalogue:2: 'categories' begins no line; 'category' and 'signature' do"},
        TextCase{"category | a\n", "catalogue:1: a category has 3 fields, not 2"},
        TextCase{"category | a | b | c\n", "catalogue:1: a category has 3 fields, not 4"},
        TextCase{categories + "signature | 1025 | SQL\n", "catalogue:3: a signature has 13 fields, not 3"},
        TextCase{"# comment\n  | b\n", "catalogue:2: no line above that this one could continue"},
        TextCase{"category | a | b\n\n  c\n", "catalogue:3: no line above that this one could continue"},
        TextCase{"category | a\n  | b,\n  c d\n", "catalogue:1: 'c d' is no sub-category" + no_word},
        TextCase{"category | all | -\n", "catalogue:1: 'all' is no category" + no_word},
        TextCase{"category | - | -\n", "catalogue:1: '-' is no category" + no_word},
        TextCase{"category | " + std::string(64, 'x') + " | -\n",
                 "catalogue:1: the category '" + std::string(64, 'x') + "' is longer than 63 characters"},
        TextCase{"category | a | b, b\n", "catalogue:1: 'b' stands there twice"},
        TextCase{"category | a | a\n", "catalogue:1: there is another category or sub-category 'a'"},
        TextCase{"category | a | b\ncategory | b | -\n", "catalogue:2: there is another category or sub-category 'b'"},
        TextCase{"category | a | b\ncategory | c | d, b\n",
                 "catalogue:2: there is another category or sub-category 'b'"},
        TextCase{signature("2000") + categories, "catalogue:1: unknown category 'SQL'"},
        TextCase{categories + signature("2000") + signature("2001") + signature("2000"),
                 "catalogue:5: there is another signature 2000"}));

class CatalogueFile : public ::testing::Test
{
protected:
    void SetUp() override
    {
        folder_ = std::filesystem::temp_directory_path() / ("catalogue-test-" + std::to_string(::getpid()));
        std::filesystem::create_directories(folder_);
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }

    static std::string refusal_of(const std::filesystem::path& file)
    {
        try {
            SignatureCatalogue::load(file);
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "accepted";
    }

    std::filesystem::path folder_;
};

TEST_F(CatalogueFile, IsNamedByEveryError)
{
    const std::filesystem::path file = folder_ / "catalogue.txt";
    EXPECT_EQ(refusal_of(file), file.string() + ": cannot be read");
    EXPECT_EQ(refusal_of(folder_), folder_.string() + ": cannot be read");
    std::ofstream(file) << categories << "nonsense\n";
    EXPECT_EQ(refusal_of(file), file.string() + ":3: 'nonsense' begins no line; 'category' and 'signature' do");
}

TEST_F(CatalogueFile, IsLoaded)
{
    const std::filesystem::path file = folder_ / "catalogue.txt";
    std::ofstream(file) << categories << signature("2000");
    EXPECT_THAT(SignatureCatalogue::load(file).signatures(), SizeIs(1));
}

// What the shipped catalogue is for: to try every criterion of a signature set against it.
TEST(ShippedCatalogue, HasSomethingForEveryCriterion)
{
    const SignatureCatalogue catalogue = SignatureCatalogue::load(QN_IPS_CATALOGUE);
    std::set<std::string> seen;
    for (const Signature& signature : catalogue.signatures()) {
        seen.insert({"severity " + signature.severity, "target " + signature.target,
                     "action " + signature.default_action, "state " + signature.default_state,
                     "category " + signature.sub_category});
        for (const std::string& system : signature.operating_systems)
            seen.insert("system " + system);
    }
    for (const char* word :
         {"severity high", "severity medium", "severity low", "severity information", "target both", "target client",
          "target server", "action alert", "action block", "action allow", "state enable", "state disable",
          "system other", "system android", "system ios", "system unix-like", "system windows"})
        EXPECT_TRUE(seen.contains(word)) << word;
    EXPECT_THAT(catalogue.categories(), SizeIs(6));
    for (const Category& category : catalogue.categories()) {
        EXPECT_THAT(category.sub_categories, SizeIs(AllOf(Ge(3U), Le(5U)))) << category.name;
        for (const std::string& name : category.sub_categories)
            EXPECT_TRUE(seen.contains("category " + name)) << name;
    }
    const auto is_correlated = [](const Signature& signature) { return signature.correlation.has_value(); };
    EXPECT_TRUE(std::ranges::any_of(catalogue.signatures(), is_correlated));
    EXPECT_FALSE(std::ranges::all_of(catalogue.signatures(), is_correlated));
}

} // namespace

} // namespace qnips
