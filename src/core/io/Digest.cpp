#include "core/io/Digest.hpp"

#include <openssl/evp.h>

#include <new>

namespace quorvel {

struct Digest::Context {
    struct Free {
        void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
    };
    std::unique_ptr<EVP_MD_CTX, Free> context{EVP_MD_CTX_new()};
    const EVP_MD* kind;
};

Digest::Digest(Kind kind) : context_(std::make_unique<Context>())
{
    context_->kind = kind == Kind::md5 ? EVP_md5() : EVP_sha256();
    if (!context_->context || EVP_DigestInit_ex(context_->context.get(), context_->kind, nullptr) != 1)
        throw std::bad_alloc();
}

Digest::~Digest() = default;
Digest::Digest(Digest&&) noexcept = default;
Digest& Digest::operator=(Digest&&) noexcept = default;

void Digest::add(std::span<const std::uint8_t> bytes)
{
    EVP_DigestUpdate(context_->context.get(), bytes.data(), bytes.size());
}

std::vector<std::uint8_t> Digest::finish()
{
    std::vector<std::uint8_t> digest(EVP_MAX_MD_SIZE);
    unsigned int size = 0;
    EVP_DigestFinal_ex(context_->context.get(), digest.data(), &size);
    digest.resize(size);
    EVP_DigestInit_ex(context_->context.get(), context_->kind, nullptr);
    return digest;
}

std::string hexText(std::span<const std::uint8_t> bytes)
{
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t byte : bytes) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

} // namespace quorvel
