// Random edits of a datastore, one after the other.
#pragma once

#include <random>
#include <string>

#include "configuration_edit.h"
#include "loop.h"
#include "random_configuration.h"

namespace qnips::test
{

class RandomWork
{
public:
    explicit RandomWork(unsigned seed) : random_(seed), configurations_(world().schema, world().catalogue, random_) {}

    // An edit of `datastore` that is valid by the schema and may be refused all the same. Empty now and then.
    std::string edit(const RunningDatastore& datastore, std::size_t most_changes = 12)
    {
        const Config before = config_of(datastore.configuration().first());
        Config after = configurations_.changed(before, 1 + random_() % most_changes);
        if (size_of(after) > 80)
            after = configurations_.reduced(std::move(after), 50);
        return xml_of(edit_between(before, after, plain_style, random_));
    }

    std::mt19937& random() { return random_; }

private:
    std::mt19937 random_;
    RandomConfiguration configurations_;
};

// A number from the environment, or another one.
unsigned long number_from(const char* variable, unsigned long otherwise);

} // namespace qnips::test
