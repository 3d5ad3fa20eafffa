#include "callback_fixture.h"

#include <stdexcept>

#include <fmt/format.h>

#include "server/module_loader.h"

namespace qnips::test
{

namespace
{

FakeModule* fake_module = nullptr;

const Change* find_path(const std::vector<Change*>& changes, const std::string& path)
{
    for (const Change* change : changes) {
        if (below_branch(instance_path(change->node)) == path)
            return change;
        if (const Change* found = find_path(change->children, path))
            return found;
    }
    return nullptr;
}

} // namespace

int fake_entry(Phase phase, void** data, XMLDIFF_OP op, xmlNodePtr node, nc_err** error)
{
    if (fake_module == nullptr)
        return 0;
    const auto found = fake_module->callbacks_.find({phase, reinterpret_cast<const char*>(node->name)});
    return found == fake_module->callbacks_.end() ? 0 : found->second(data, op, node, error);
}

namespace
{

extern "C" {

int fake_removal_entry(void** data, XMLDIFF_OP op, xmlNodePtr node, nc_err** error)
{
    return fake_entry(Phase::removal, data, op, node, error);
}

int fake_set_entry(void** data, XMLDIFF_OP op, xmlNodePtr node, nc_err** error)
{
    return fake_entry(Phase::set, data, op, node, error);
}
}

transapi_callback fake_function(Phase phase)
{
    return phase == Phase::removal ? fake_removal_entry : fake_set_entry;
}

} // namespace

const YangSchema& ips_schema()
{
    static const YangSchema schema({QN_IPS_YANG_DIR, QN_IPS_IETF_YANG_DIR});
    return schema;
}

const std::vector<Row>& ips_rows()
{
    static const PluginModule module(QN_IPS_MODULE);
    return module.rows();
}

const NodeTable& ips_table()
{
    static const NodeTable table(ips_rows(), ips_schema());
    return table;
}

std::string ips_config(std::string_view content)
{
    return fmt::format(R"(<ips-config xmlns="urn:quorin:params:xml:ns:yang:quorin-intrusion-prevention")"
                       R"( xmlns:nc="urn:ietf:params:xml:ns:netconf:base:1.0")"
                       R"( xmlns:yang="urn:ietf:params:xml:ns:yang:1">{}</ips-config>)",
                       content);
}

std::string branch(std::string_view content)
{
    return ips_config(fmt::format("<user-defined-ips><vsys><name>branch</name>{}</vsys></user-defined-ips>", content));
}

ConfigTree ips_tree(std::string_view xml)
{
    return ConfigTree(ips_schema().parse_configuration(xml));
}

std::string below_branch(const std::string& path)
{
    static const std::string prefix = "/qn-ips:ips-config/user-defined-ips/vsys[name='branch']/";
    return path.starts_with(prefix) ? path.substr(prefix.size()) : path;
}

StandingEdit::StandingEdit(std::string_view running_xml, std::string_view edit_xml)
    : tree_(ips_tree(running_xml)), request_(parse_edit_request(ips_schema(), edit_xml)), edit_(tree_, request_)
{
}

const Change& StandingEdit::at(const std::string& path) const
{
    const Change* found = find_path(edit_.changes().roots(), path);
    if (found == nullptr)
        throw std::out_of_range("nothing changes at " + path);
    return *found;
}

FakeModule::FakeModule()
{
    if (fake_module != nullptr)
        throw std::logic_error("there is a fake module already");
    fake_module = this;
}

FakeModule::~FakeModule()
{
    fake_module = nullptr;
}

void FakeModule::on(Phase phase, std::string element, Callback callback)
{
    callbacks_[{phase, std::move(element)}] = std::move(callback);
}

std::vector<Row> FakeModule::rows()
{
    std::vector<Row> rows = ips_rows();
    for (Row& row : rows)
        row.function = fake_function(phase_of(row));
    return rows;
}

Row FakeModule::row(Phase phase)
{
    return {.path = "",
            .function = fake_function(phase),
            .priority = phase == Phase::removal ? 54 : 18,
            .callback = phase == Phase::removal ? "fake_removal" : "fake_set"};
}

} // namespace qnips::test
