#include "smallest_case.h"

#include <algorithm>
#include <set>

#include <libyang/libyang.h>

namespace qnips::test
{

namespace
{

using Path = std::vector<std::string>; // steps of instances

void collect(const Config& siblings, Path& path, std::set<Path>& paths)
{
    for (const ConfigNode& node : siblings) {
        if (lysc_is_key(node.schema))
            continue;
        path.push_back(node.step(false));
        paths.insert(path);
        collect(node.children, path, paths);
        path.pop_back();
    }
}

ConfigNode* find(Config& siblings, const std::string& step)
{
    const auto found = std::find_if(siblings.begin(), siblings.end(),
                                    [&](const ConfigNode& node) { return node.step(false) == step; });
    return found != siblings.end() ? &*found : nullptr;
}

// The siblings that the last step of the path is among; null when there is nothing so deep.
Config* siblings_at(Config& config, const Path& path)
{
    Config* siblings = &config;
    for (auto step = path.begin(); step + 1 != path.end(); ++step) {
        ConfigNode* node = find(*siblings, *step);
        if (node == nullptr)
            return nullptr;
        siblings = &node->children;
    }
    return siblings;
}

void erase(Config& config, const Path& path)
{
    if (Config* siblings = siblings_at(config, path))
        std::erase_if(*siblings, [&](const ConfigNode& node) { return node.step(false) == path.back(); });
    // What holds nothing any more goes as well.
    for (Path up(path.begin(), path.end() - 1); !up.empty(); up.pop_back()) {
        Config* siblings = siblings_at(config, up);
        const ConfigNode* node = siblings != nullptr ? find(*siblings, up.back()) : nullptr;
        if (node != nullptr && lysc_is_np_cont(node->schema) && node->children.empty())
            std::erase_if(*siblings, [&](const ConfigNode& other) { return &other == node; });
    }
}

// The node in the second configuration becomes what it is in the first.
void take_back(EditCase& edit, const Path& path)
{
    Config* old_siblings = siblings_at(edit.before, path);
    Config* siblings = siblings_at(edit.after, path);
    const ConfigNode* old = old_siblings != nullptr ? find(*old_siblings, path.back()) : nullptr;
    if (old == nullptr || siblings == nullptr)
        return;
    if (ConfigNode* node = find(*siblings, path.back()))
        *node = *old;
    else
        siblings->push_back(*old);
}

std::vector<EditCase> simpler(const EditCase& edit, const Path& path)
{
    std::vector<EditCase> cases(4, edit);
    erase(cases[0].before, path);
    erase(cases[0].after, path);
    take_back(cases[1], path);
    erase(cases[2].before, path);
    erase(cases[3].after, path);
    std::erase(cases, edit);
    return cases;
}

std::size_t weight(const Config& config)
{
    std::size_t sum = config.size();
    for (const ConfigNode& node : config)
        sum += weight(node.children) + node.value.size();
    return sum;
}

} // namespace

EditCase smallest_case(EditCase found, const std::function<bool(const EditCase&)>& goes_wrong)
{
    const auto size = [](const EditCase& edit) { return weight(edit.before) + weight(edit.after); };
    for (bool progress = true; progress;) {
        progress = false;
        std::set<Path> paths;
        Path path;
        collect(found.before, path, paths);
        collect(found.after, path, paths);
        for (const Path& here : paths)
            for (EditCase& candidate : simpler(found, here)) {
                // Nothing may grow: what is taken back must not come and go for ever.
                if (size(candidate) >= size(found) || !goes_wrong(candidate))
                    continue;
                found = std::move(candidate);
                progress = true;
                break;
            }
    }
    return found;
}

} // namespace qnips::test
