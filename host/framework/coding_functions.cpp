// Functions that write bytes as text of other forms: URLs, Base64, hashes.
#include "host/framework/framework.h"
#include "host/framework/tables.h"
#include "host/runtime/encoding.h"
#include "host/runtime/exception.h"
#include "host/runtime/string.h"
#include "host/syntax/names.h"

#include <md5.h>
#include <sha1.h>
#include <sha2.h>

#include <array>
#include <string>

namespace host {

namespace {

constexpr std::string_view BASE64 = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::string_view HEX = "0123456789ABCDEF";

String* BuildAscii(std::string_view text) { return BuildString(text, ENCODING_UTF8); }

String* Refuse(const char* message) {
    RaiseNew("IllegalArgumentException", 0, message);
    return nullptr;
}

// Letters, digits and "-._~" stay; every other byte of the text in UTF-8 becomes %XX.
String* EncodeURLComponent(String* text) {
    StringRef utf8 = text != nullptr && text->encoding != ENCODING_UNKNOWN ? ConvertString(text, ENCODING_UTF8)
                                                                           : StringRef::Share(text);
    std::string result;
    for (char c : utf8.View()) {
        auto byte = static_cast<unsigned char>(c);
        bool isPlain =
            BASE64.substr(0, 62).find(c) != std::string_view::npos || c == '-' || c == '.' || c == '_' || c == '~';
        if (isPlain)
            result += c;
        else
            result.append(1, '%').append(1, HEX[byte >> 4]).append(1, HEX[byte & 15]);
    }
    return BuildAscii(result);
}

String* DecodeURLComponent(String* text) {
    std::string_view source = StringView(text);
    std::string result;
    for (size_t i = 0; i < source.size(); ++i) {
        if (source[i] != '%') {
            result += source[i];
            continue;
        }
        std::string digits = FoldName(source.substr(i + 1, 2));
        auto value = [](char c) { return c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1; };
        bool isByte = digits.size() == 2 && value(digits[0]) >= 0 && value(digits[1]) >= 0;
        if (!isByte) return Refuse("DecodeURLComponent: \"%\" without two hexadecimal digits");
        result += static_cast<char>(value(digits[0]) * 16 + value(digits[1]));
        i += 2;
    }
    return BuildString(result, ENCODING_UTF8);
}

// The bytes of the text, whatever its encoding.
String* EncodeBase64(String* text) {
    std::string_view bytes = StringView(text);
    std::string result;
    for (size_t i = 0; i < bytes.size(); i += 3) {
        uint32_t group = 0;
        for (size_t j = 0; j < 3; ++j) {
            group = group << 8 | (i + j < bytes.size() ? static_cast<unsigned char>(bytes[i + j]) : 0U);
        }
        for (size_t j = 0; j < 4; ++j) {
            result += i + j > bytes.size() ? '=' : BASE64[group >> (18 - 6 * j) & 63];
        }
    }
    return BuildAscii(result);
}

// White space between the characters does not count. The bytes have no encoding: DefineEncoding tells it.
String* DecodeBase64(String* text) {
    std::string result;
    uint32_t group = 0;
    size_t count = 0;
    size_t padding = 0;
    for (char c : StringView(text)) {
        if (c == ' ' || c == '\t' || c == '\r' || c == '\n') continue;
        size_t digit = BASE64.find(c);
        padding += c == '=' ? 1 : 0;
        bool fits = c == '=' ? count % 4 >= 2 || padding == 2 : digit != std::string_view::npos && padding == 0;
        if (!fits || padding > 2) return Refuse("DecodeBase64: this is not Base64");
        group = group << 6 | (c == '=' ? 0 : static_cast<uint32_t>(digit));
        if (++count % 4 != 0) continue;
        for (size_t j = 0; j + padding < 3; ++j) result += static_cast<char>(group >> (16 - 8 * j));
    }
    if (count % 4 != 0) return Refuse("DecodeBase64: the text ends too early");
    return BuildString(result, ENCODING_UNKNOWN);
}

using Digest = char* (*)(const uint8_t*, size_t, char*);
constexpr std::pair<std::string_view, Digest> DIGESTS[] = {
    {"MD5", MD5Data}, {"SHA-1", SHA1Data}, {"SHA-256", SHA256Data}, {"SHA-384", SHA384Data}, {"SHA-512", SHA512Data},
};

// Of the bytes, in lower-case hexadecimal digits.
String* Hash(String* text, String* method) {
    std::array<char, SHA512_DIGEST_STRING_LENGTH> digits{};
    std::string_view bytes = StringView(text);
    for (const auto& [name, digest] : DIGESTS) {
        if (!SameName(name, StringView(method))) continue;
        digest(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size(), digits.data());
        return BuildAscii(digits.data());
    }
    return Refuse("Hash: the methods are MD5, SHA-1, SHA-256, SHA-384 and SHA-512");
}

const GlobalFunction FUNCTIONS[] = {
    {"EncodeURLComponent(text as String) as String", Native<EncodeURLComponent>()},
    {"DecodeURLComponent(text as String) as String", Native<DecodeURLComponent>()},
    {"EncodeBase64(bytes as String) as String", Native<EncodeBase64>()},
    {"DecodeBase64(text as String) as String", Native<DecodeBase64>()},
    {"Hash(bytes as String, method as String = \"SHA-256\") as String", Native<Hash>()},
};

} // namespace

std::span<const GlobalFunction> CodingFunctions() { return FUNCTIONS; }

} // namespace host
