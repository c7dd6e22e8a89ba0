// Logs messages by the names that taqgencat --header gives them, e.g.
//
//     QEN_REPORT(log, SEV_INFO, ULOG_ABOUT_RESOURCE, orders::accepted, order_id, "web");
//
// The compiler knows each text: a name that does not exist, a missing or a superfluous argument, and an
// argument that no text can show do not compile. The result is that of QEN_MESSAGE with the English text.
// Needs C++17.
#pragma once

#include <cstddef>
#include <string>
#include <type_traits>

#include "ILog.h"

inline namespace taq_1 {

// What a generated descriptor is derived from; it adds the English text, `static constexpr char text[]`.
// The text has the specifiers "%s", "%1$s" to "%6$s" and "%%" only.
struct CatalogMessageBase {};
template <int Category, int Number, int Arguments>
struct CatalogMessage : CatalogMessageBase {
    static constexpr int category = Category, number = Number, arguments = Arguments;
};

// As write_message, without the compiler's check of the format.
void write_composed_message(ILog* logp, ulog_app_sev sev, const char* whop, const char* filep, int line,
                            int flags, int cat, int id, const char* fmtp, ...);

namespace taq_catalog_message {

// The conversion of printf for a type of argument; null for a type that cannot be shown.
template <class T>
constexpr const char* conversion() {
    using Type = std::decay_t<T>;
    if constexpr (std::is_same_v<Type, char>)
        return "c";
    else if constexpr (std::is_same_v<Type, std::string> || std::is_same_v<Type, const char*> ||
                       std::is_same_v<Type, char*>)
        return "s";
    else if constexpr (std::is_same_v<Type, wchar_t> || std::is_same_v<Type, char16_t> ||
                       std::is_same_v<Type, char32_t>)
        return nullptr;
    else if constexpr (std::is_enum_v<Type>)
        return std::is_convertible_v<Type, long long> ? conversion<std::underlying_type_t<Type>>() : nullptr;
    else if constexpr (std::is_same_v<Type, float> || std::is_same_v<Type, double>)
        return "g";
    else if constexpr (!std::is_integral_v<Type>)
        return nullptr;
    else if constexpr (sizeof(Type) < sizeof(int))
        return "d";
    else if constexpr (std::is_same_v<Type, long>)
        return "ld";
    else if constexpr (std::is_same_v<Type, unsigned long>)
        return "lu";
    else if constexpr (std::is_same_v<Type, long long>)
        return "lld";
    else if constexpr (std::is_same_v<Type, unsigned long long>)
        return "llu";
    else
        return std::is_signed_v<Type> ? "d" : "u";
}

// The English text with the conversion of its argument in place of each "s".
template <class Message, class... Arguments>
struct Format {
    char text[sizeof(Message::text) + 2 * sizeof...(Arguments) + 1] = {};

    constexpr Format() {
        constexpr const char* conversions[] = {conversion<Arguments>()..., nullptr};
        size_t end = 0, next = 0;
        for (size_t i = 0; i + 1 < sizeof(Message::text); ++i) {
            text[end++] = Message::text[i];
            if (Message::text[i] != '%') continue;
            const char behind = Message::text[++i];
            size_t argument = next;
            if (behind == '%') {
                text[end++] = behind;
                continue;
            }
            if (behind == 's') {
                ++next;
            } else { // a digit, then "$s"
                argument = static_cast<size_t>(behind - '1');
                text[end++] = behind;
                text[end++] = '$';
                i += 2;
            }
            for (const char* c = conversions[argument]; *c != '\0'; ++c) text[end++] = *c;
        }
    }
};
template <class Message, class... Arguments>
inline constexpr Format<Message, Arguments...> format{};

template <class T>
const T& pass(const T& value) {
    return value;
}
template <size_t Size>
const char* pass(const char (&text)[Size]) {
    return text;
}
inline const char* pass(const std::string& text) {
    return text.c_str();
}

} // namespace taq_catalog_message

// Logs one message; sev and flags as for write_message. Arguments: strings (const char*, std::string),
// characters, integers, enumerators, and floating-point numbers ("%g").
template <class Message, class... Arguments>
void report_message(ILog* logp, ulog_app_sev sev, const char* whop, const char* filep, int line, int flags,
                    const Message&, const Arguments&... arguments) {
    using namespace taq_catalog_message;
    constexpr bool is_message = std::is_base_of_v<CatalogMessageBase, Message>;
    static_assert(is_message, "name a message of a header that taqgencat made");
    if constexpr (is_message) {
        constexpr bool count_fits = sizeof...(Arguments) == size_t{Message::arguments};
        constexpr bool all_shown = ((conversion<Arguments>() != nullptr) && ...);
        static_assert(count_fits, "the text of this message has another number of arguments");
        static_assert(all_shown, "arguments are strings, characters, enumerators and numbers");
        if constexpr (count_fits && all_shown)
            write_composed_message(logp, sev, whop, filep, line, flags, Message::category, Message::number,
                                   format<Message, Arguments...>.text, pass(arguments)...);
    }
}

// The same with function, file and line of the caller. Behind flags: the message, then its arguments.
#define QEN_REPORT(logp, sev, flags, ...)                                                                    \
    report_message((logp), (sev), __func__, __FILE__, __LINE__, (flags), __VA_ARGS__)

} // namespace taq_1
