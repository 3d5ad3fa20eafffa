// Loads the YANG module for the tests of the schema. The folder of the module comes from the build (QN_IPS_YANG_DIR).
#pragma once

#include <memory>
#include <string>

struct ly_ctx;
struct lyd_node;
struct lys_module;

namespace yang_test
{

struct ContextDeleter {
    void operator()(ly_ctx* context) const noexcept;
};

class YangContext
{
public:
    // Throws std::runtime_error when the module does not load.
    YangContext();

    [[nodiscard]] ly_ctx* get() const { return context_.get(); }
    [[nodiscard]] const lys_module* module() const { return module_; }

    // Parses and validates a document as configuration. Empty when it is valid, else the validator's message.
    [[nodiscard]] std::string refusal(const std::string& document) const;

private:
    std::unique_ptr<ly_ctx, ContextDeleter> context_;
    const lys_module* module_ = nullptr;
};

} // namespace yang_test
