#include "yang_context.h"

#include <libyang/libyang.h>

#include <stdexcept>

namespace yang_test
{

void ContextDeleter::operator()(ly_ctx* context) const noexcept
{
    ly_ctx_destroy(context);
}

YangContext::YangContext()
{
    ly_log_options(LY_LOSTORE_LAST);
    ly_ctx* raw = nullptr;
    if (ly_ctx_new(QN_IPS_YANG_DIR, 0, &raw) != LY_SUCCESS) {
        throw std::runtime_error("no libyang context for " QN_IPS_YANG_DIR);
    }
    context_.reset(raw);
    module_ = ly_ctx_load_module(raw, "quorin-intrusion-prevention", nullptr, nullptr);
    if (module_ == nullptr) {
        throw std::runtime_error("quorin-intrusion-prevention does not load from " QN_IPS_YANG_DIR);
    }
}

std::string YangContext::refusal(const std::string& document) const
{
    lyd_node* tree = nullptr;
    const LY_ERR result = lyd_parse_data_mem(context_.get(), document.c_str(), LYD_XML, LYD_PARSE_STRICT,
                                             LYD_VALIDATE_NO_STATE | LYD_VALIDATE_PRESENT, &tree);
    lyd_free_all(tree);
    if (result == LY_SUCCESS) {
        return {};
    }
    const char* message = ly_errmsg(context_.get());
    return message == nullptr ? "refused without a message" : message;
}

} // namespace yang_test
