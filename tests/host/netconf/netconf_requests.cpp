#include "netconf_requests.h"

#include <fmt/format.h>

namespace qnips::test
{

std::string config_with(const std::string& profiles)
{
    return fmt::format(R"(<ips-config xmlns="{}"><user-defined-ips><vsys><name>branch</name><profiles>{}</profiles>)"
                       "</vsys></user-defined-ips></ips-config>",
                       ips_namespace, profiles);
}

std::string profile(const std::string& name, const std::string& content)
{
    return fmt::format("<profile><name>{}</name>{}</profile>", name, content);
}

std::string get_config(const std::string& source, const std::string& more)
{
    return fmt::format("<get-config><source><{}/></source>{}</get-config>", source, more);
}

std::string edit(const std::string& target, const std::string& config, const std::string& more)
{
    return fmt::format("<edit-config><target><{}/></target>{}<config>{}</config></edit-config>", target, more, config);
}

std::string with_target(const std::string& operation, const std::string& target)
{
    return fmt::format("<{0}><target><{1}/></target></{0}>", operation, target);
}

std::string subtree(const std::string& content)
{
    return fmt::format(R"(<filter type="subtree">{}</filter>)", content);
}

std::string xpath(const std::string& expression)
{
    return fmt::format(R"(<filter type="xpath" xmlns:ips="{}" select="{}"/>)", ips_namespace, expression);
}

} // namespace qnips::test
