// The host's one exception: what a NETCONF client will read in an rpc-error (RFC 6241, 4.3).
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qnips
{

class RpcError : public std::runtime_error
{
public:
    // `tag` is an error-tag of RFC 6241, appendix A, and outlives the exception (a literal). `path` is the instance
    // path of the node at fault, empty when there is none. `app_tag` is the error-app-tag (RFC 7950, 15), empty when
    // there is none. `lock_holder` is the session-id in the error-info of "lock-denied": 0 for a lock that somebody
    // outside of NETCONF has; other tags have none.
    RpcError(std::string_view tag, std::string path, const std::string& message, std::string app_tag = {},
             std::optional<std::uint32_t> lock_holder = {})
        : std::runtime_error(message), tag_(tag), path_(std::move(path)), app_tag_(std::move(app_tag)),
          lock_holder_(lock_holder)
    {
    }

    // The same error with what its error-info names beside the element (RFC 6241, appendix A): of a tag that ends in
    // "-attribute" the attribute, of "unknown-namespace" the namespace.
    [[nodiscard]] RpcError naming(std::string culprit) &&
    {
        culprit_ = std::move(culprit);
        return std::move(*this);
    }

    // The first of several errors of one request.
    [[nodiscard]] RpcError with(std::vector<RpcError> others) &&
    {
        others_ = std::make_shared<const std::vector<RpcError>>(std::move(others));
        return std::move(*this);
    }

    [[nodiscard]] std::string_view tag() const noexcept { return tag_; }
    [[nodiscard]] const std::string& path() const noexcept { return path_; }
    [[nodiscard]] const std::string& app_tag() const noexcept { return app_tag_; }
    [[nodiscard]] std::optional<std::uint32_t> lock_holder() const noexcept { return lock_holder_; }
    // Empty where nothing was named.
    [[nodiscard]] const std::string& culprit() const noexcept { return culprit_; }
    // The errors of the same request that come after this one.
    [[nodiscard]] const std::vector<RpcError>& others() const noexcept
    {
        static const std::vector<RpcError> none;
        return others_ != nullptr ? *others_ : none;
    }

private:
    std::string_view tag_;
    std::string path_;
    std::string app_tag_;
    std::optional<std::uint32_t> lock_holder_;
    std::string culprit_;
    std::shared_ptr<const std::vector<RpcError>> others_; // null: none. Shared, so that a copy cannot throw
};

} // namespace qnips
