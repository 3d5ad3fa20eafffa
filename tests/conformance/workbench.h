// Runs a node's callbacks in all edits that tell something about it.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "conformance/node_report.h"
#include "conformance/variable.h"
#include "server/yang_schema.h"
#include "support/recording_server.h"

namespace qnips::conformance
{

class Workbench
{
public:
    // Reads the samples from a folder.
    explicit Workbench(const std::filesystem::path& samples);

    // Throws std::runtime_error when no sample has the node of a configuration path.
    NodeReport report(const ModuleNode& node);

    [[nodiscard]] const YangSchema& schema() const { return schema_; }

    // Uses of a service of the server against its contract.
    [[nodiscard]] const std::vector<std::string>& misuses() const { return server_.misuses(); }

    // For the parts of a report. Facts are kept, since each is asked for very often.
    const SchemaFacts& facts(const std::string& path);
    const SchemaFacts& facts(const Sample& sample, ElementId element) { return facts(sample.path_of(element)); }
    [[nodiscard]] const Samples& samples() const { return samples_; }
    test::RecordingServer& server() { return server_; }

private:
    YangSchema schema_;
    Samples samples_;
    test::RecordingServer server_;
    std::map<std::string, SchemaFacts> facts_;
};

} // namespace qnips::conformance
