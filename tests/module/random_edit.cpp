// Changes of an edit's tree by chance.
#include "module/random_edit.h"

#include <array>
#include <memory>
#include <optional>

#include "support/edit_tree.h"
#include "support/recorded_call.h"
#include "transapi/transapi.h"

namespace qnips::test
{

namespace
{

constexpr std::size_t calm = 40;
constexpr std::size_t wild = 7;

const xmlChar* xml_text(const std::string& text)
{
    return reinterpret_cast<const xmlChar*>(text.c_str());
}

const std::vector<std::string>& common_texts()
{
    static const std::vector<std::string> texts = {"",
                                                   " ",
                                                   " a",
                                                   "a ",
                                                   "a\t",
                                                   "a b",
                                                   "a?b",
                                                   "?",
                                                   "true",
                                                   "false",
                                                   "TRUE",
                                                   "enable",
                                                   "disable",
                                                   "alert",
                                                   "block",
                                                   "allow",
                                                   "all",
                                                   "any",
                                                   "public",
                                                   "default",
                                                   "%s%n%x",
                                                   "\"a\"",
                                                   "\xc3\xa9\xe4\xb8\xad",
                                                   "\x01",
                                                   "\x7f",
                                                   "-1",
                                                   "0",
                                                   "1",
                                                   "4",
                                                   "5",
                                                   "7",
                                                   "50",
                                                   "51",
                                                   "255",
                                                   "500",
                                                   "501",
                                                   "1000",
                                                   "1001",
                                                   "1024",
                                                   "1025",
                                                   "7200",
                                                   "7201",
                                                   "65535",
                                                   "65536",
                                                   "16777216",
                                                   "16777217",
                                                   "4294967295",
                                                   "4294967297",
                                                   "99999999999999999999999",
                                                   "1a",
                                                   "10.0.0.1",
                                                   "10.0.0.0/8",
                                                   "10.0.0.1/32",
                                                   "10.0.0.1/",
                                                   "/8",
                                                   "255.255.255.255",
                                                   "256.1.1.1",
                                                   "10.0.0",
                                                   "::",
                                                   "::1",
                                                   "2001:db8::/32",
                                                   "2001:db8::1/128",
                                                   "::ffff:10.0.0.1",
                                                   ":",
                                                   "source",
                                                   "destination",
                                                   "source-destination",
                                                   "both",
                                                   "prefix-match",
                                                   "pattern-match",
                                                   "from-client",
                                                   "flow",
                                                   "high",
                                                   "low"};
    return texts;
}

std::string long_text(Random& random)
{
    static constexpr std::array<std::size_t, 18> lengths{31,  32,  61,  62,  63,  64,  65,  103, 104,
                                                         126, 127, 128, 129, 254, 255, 256, 512, 3000};
    static constexpr std::array<char, 8> letters{'a', '1', '0', 'f', ':', '.', '%', '"'};
    std::string text(random.one_of(lengths), random.one_of(letters));
    if (random.once_in(3))
        text[random.below(text.size())] = random.once_in(2) ? ' ' : '/';
    return text;
}

// None for a leaf without a text.
std::optional<std::string> any_text(const std::string& leaf_name, const EditWords& words, Random& random)
{
    const auto known = words.texts.find(leaf_name);
    if (known != words.texts.end() && random.once_in(2))
        return random.one_of(known->second);
    if (random.once_in(12))
        return std::nullopt;
    return random.once_in(4) ? long_text(random) : random.one_of(common_texts());
}

void replace_text(xmlNode* leaf_node, const std::optional<std::string>& text)
{
    xmlNodeSetContent(leaf_node, nullptr);
    if (text)
        xmlAddChild(leaf_node, xmlNewText(xml_text(*text)));
}

std::string name_of(const xmlNode* element)
{
    return reinterpret_cast<const char*>(element->name);
}

bool has_elements(const xmlNode* element)
{
    for (const xmlNode* node = element->children; node != nullptr; node = node->next) {
        if (node->type == XML_ELEMENT_NODE)
            return true;
    }
    return false;
}

bool is_at_or_above(const xmlNode* element, const xmlNode* changed)
{
    for (const xmlNode* node = changed; node != nullptr; node = node->parent) {
        if (node == element)
            return true;
    }
    return false;
}

void collect_elements(xmlNode* element, std::vector<xmlNode*>& all)
{
    if (element->type != XML_ELEMENT_NODE)
        return;
    all.push_back(element);
    for (xmlNode* node = element->children; node != nullptr; node = node->next)
        collect_elements(node, all);
}

void set_operation(xmlNode* element, Random& random)
{
    static const std::vector<std::string> usual = {"ADD", "MOD", "CHAIN", "REM", "ADD|CHAIN", "REM|ROLLBACK"};
    const std::string op = random.once_in(2) ? random.one_of(usual) : op_text(operation_of_bits(random.below(256)));
    xmlSetProp(element, xml_text("op"), xml_text(op));
}

void change_element(xmlNode* element, xmlNode* changed, std::size_t rarity, const EditWords& words, Random& random)
{
    const bool stays = is_at_or_above(element, changed);
    if (random.once_in(stays ? 4 * rarity : 4))
        set_operation(element, random);
    if (!has_elements(element) && random.once_in(element == changed ? 3 : rarity))
        replace_text(element, any_text(name_of(element), words, random));
    if (stays)
        return;
    if (random.once_in(2 * rarity)) {
        xmlNode* twin = xmlCopyNode(element, 1);
        if (!has_elements(twin))
            replace_text(twin, any_text(name_of(twin), words, random));
        random.once_in(2) ? xmlAddNextSibling(element, twin) : xmlAddPrevSibling(element, twin);
    }
    if (random.once_in(rarity)) {
        xmlUnlinkNode(element);
        xmlFreeNode(element);
    }
}

// New elements as first or last children.
void add_elements(xmlNode* parent, const std::vector<std::string>& names, std::size_t rarity, const EditWords& words,
                  Random& random)
{
    for (const std::string& name : names) {
        if (!random.once_in(rarity))
            continue;
        xmlNode* element = xmlNewNode(nullptr, xml_text(name));
        replace_text(element, any_text(name, words, random));
        if (random.once_in(2))
            set_operation(element, random);
        if (parent->children != nullptr && random.once_in(2))
            xmlAddPrevSibling(parent->children, element);
        else
            xmlAddChild(parent, element);
    }
}

// What is no element stands between elements, too.
void add_others(xmlNode* parent, Random& random)
{
    if (!random.once_in(8))
        return;
    xmlAddChild(parent, xmlNewComment(xml_text("name")));
    if (parent->children->type == XML_ELEMENT_NODE)
        xmlAddPrevSibling(parent->children, xmlNewText(xml_text("\n ")));
}

} // namespace

void learn_texts(EditWords& words, const std::string& xml)
{
    const EditTree tree(xml);
    std::vector<xmlNode*> elements;
    collect_elements(tree.find("/*"), elements);
    for (const xmlNode* element : elements) {
        const char* text = leaf_text(element);
        if (text != nullptr && !has_elements(element))
            words.texts[name_of(element)].emplace_back(text);
    }
}

void change_edit(xmlNode* changed, const EditWords& words, Random& random)
{
    const std::size_t rarity = random.once_in(3) ? wild : calm;
    std::vector<xmlNode*> elements;
    collect_elements(xmlDocGetRootElement(changed->doc), elements);
    // from the last to the first, so that what goes takes nothing along that is still to come
    for (auto element = elements.rbegin(); element != elements.rend(); ++element)
        change_element(*element, changed, rarity, words, random);
    add_elements(changed->parent, words.beside, rarity, words, random);
    add_others(changed->parent, random);
    if (has_elements(changed)) {
        add_elements(changed, words.inside, rarity, words, random);
        add_others(changed, random);
    }
}

std::string edit_text(const xmlNode* node)
{
    xmlChar* text = nullptr;
    int length = 0;
    xmlDocDumpMemory(node->doc, &text, &length);
    const std::unique_ptr<xmlChar, decltype(xmlFree)> owned(text, xmlFree);
    return {reinterpret_cast<const char*>(text), static_cast<std::size_t>(length)};
}

int operation_of_bits(std::size_t bits)
{
    static constexpr std::array<int, 8> operations{XMLDIFF_ADD,     XMLDIFF_REM,     XMLDIFF_MOD,  XMLDIFF_CHAIN,
                                                   XMLDIFF_SIBLING, XMLDIFF_REORDER, XMLDIFF_CFGR, XMLDIFF_ROLLBACK};
    int op = XMLDIFF_NONE;
    for (std::size_t i = 0; i < operations.size(); ++i) {
        if ((bits >> i & 1U) != 0)
            op |= operations[i];
    }
    return op;
}

} // namespace qnips::test
