#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace quorvel {

// A running MD5 or SHA-256 over bytes handed in as they stream past.
class Digest {
public:
    enum class Kind { md5, sha256 };
    explicit Digest(Kind kind);
    ~Digest();
    Digest(Digest&&) noexcept;
    Digest& operator=(Digest&&) noexcept;

    void add(std::span<const std::uint8_t> bytes);
    // The digest of everything added; the digest starts afresh after it.
    std::vector<std::uint8_t> finish();

private:
    struct Context;
    std::unique_ptr<Context> context_;
};

// Lower-case hexadecimal, two digits a byte.
std::string hexText(std::span<const std::uint8_t> bytes);

} // namespace quorvel
