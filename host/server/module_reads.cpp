#include "server/module_reads.h"

#include <cstdlib>
#include <memory>
#include <new>
#include <string_view>

#include <fmt/format.h>
#include <libxml/tree.h>
#include <libxml/xmlerror.h>

#include "server/callback_session.h"
#include "server/rpc_error.h"
#include "transapi/server_services.h"

namespace qnips
{

namespace
{

struct Freed {
    void operator()(char* text) const noexcept { std::free(text); }
    void operator()(xmlDoc* document) const noexcept { xmlFreeDoc(document); }
    void operator()(xmlBuffer* buffer) const noexcept { xmlBufferFree(buffer); }
};

// Keeps what libxml2 has to say about a document off standard error.
class QuietParser
{
public:
    QuietParser() { xmlSetStructuredErrorFunc(this, keep_first); }
    ~QuietParser() { xmlSetStructuredErrorFunc(nullptr, nullptr); }
    QuietParser(const QuietParser&) = delete;
    QuietParser& operator=(const QuietParser&) = delete;

    // " (line N: ...)", empty when nothing was wrong.
    [[nodiscard]] const std::string& complaint() const { return complaint_; }

private:
    static void keep_first(void* self, xmlErrorPtr error)
    {
        std::string& complaint = static_cast<QuietParser*>(self)->complaint_;
        if (!complaint.empty() || error->message == nullptr)
            return;
        std::string message = error->message;
        while (!message.empty() && message.back() == '\n')
            message.pop_back();
        complaint = fmt::format(" (line {}: {})", error->line, message);
    }

    std::string complaint_;
};

[[noreturn]] void fail(const nc_err* error, std::string_view root, std::string_view complaint)
{
    const std::string path = fmt::format("/qn-ips:{}", root);
    if (error != nullptr)
        throw RpcError(error_tag(error->error.code), path, error->error.message);
    throw RpcError("operation-failed", path,
                   fmt::format("The command platform gives no answer, or one that cannot be used{}.", complaint));
}

std::string print(xmlDoc* document)
{
    const xmlNode* root = xmlDocGetRootElement(document);
    if (root == nullptr)
        return {};
    const std::unique_ptr<xmlBuffer, Freed> buffer(xmlBufferCreate());
    constexpr int level = 0;
    constexpr int indent = 1;
    if (buffer == nullptr || xmlNodeDump(buffer.get(), document, const_cast<xmlNode*>(root), level, indent) < 0)
        throw std::bad_alloc();
    return reinterpret_cast<const char*>(xmlBufferContent(buffer.get()));
}

} // namespace

ProductName::ProductName(std::optional<std::string> name) : name_(std::move(name))
{
    g_product_name_for_dp = name_ ? name_->c_str() : nullptr;
}

ProductName::~ProductName()
{
    g_product_name_for_dp = nullptr;
}

std::string read_configuration(const PluginModule& module, CommandPlatform& platform)
{
    CallbackSession session(platform);
    nc_err* error = nullptr;
    const std::unique_ptr<char, Freed> text(module.reads().configuration(nullptr, NC_DATASTORE_RUNNING, &error));
    if (text == nullptr)
        fail(error, "ips-config", "");
    return text.get();
}

std::string read_state(const PluginModule& module, CommandPlatform& platform)
{
    CallbackSession session(platform);
    const QuietParser parser;
    nc_err* error = nullptr;
    const std::unique_ptr<xmlDoc, Freed> document(module.reads().state(nullptr, nullptr, &error));
    if (document == nullptr)
        fail(error, "ips-state", parser.complaint());
    return print(document.get());
}

} // namespace qnips
