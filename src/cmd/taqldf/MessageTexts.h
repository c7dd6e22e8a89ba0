// Texts of messages in one language as UTF-8, composed for thousands of records.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "i18n/common/i18n.h"
#include "primitives/log/LogText.h"
#include "primitives/message/severity.h"

// What is known of a message.
struct KnownMessage {
    enum Kind : uint8_t {
        UNKNOWN,   // no catalog has it
        BARE,      // number 0: the arguments are the text
        TEMPLATE,  // `text` and `pieces` make its texts
        LOOKED_UP, // each text is looked up
    };
    uint64_t key = ~uint64_t{0}; // identity, or what no message has
    Kind kind = UNKNOWN;
    unsigned oddities = 0;    // of `text`
    size_t arg_count = 0;     // TEMPLATE: with another number of arguments it is looked up
    size_t args_size_max = 0; // likewise with more bytes of arguments
    std::string id;           // "K-16-25-30012"
    std::string text;
    std::vector<i18n_piece> pieces;
};

// One thread at a time.
class MessageTexts {
public:
    static constexpr size_t SIZE = I18N_CONV_BUFFSIZE; // room for the longest text

    MessageTexts() = default;
    ~MessageTexts();
    MessageTexts(const MessageTexts&) = delete;
    MessageTexts& operator=(const MessageTexts&) = delete;

    // Opens the catalogs of a language; null takes that of the environment, and English when there are no
    // catalogs in it. False: there are none in the language that was asked for. Without open, and without any
    // catalogs, all messages are unknown.
    bool open(const char* lang);

    const std::string& lang() const { return _lang; }

    // Valid until the next call on the object.
    const KnownMessage& of(uint32_t msgcat_id) {
        KnownMessage& message = _known[(msgcat_id ^ msgcat_id >> 16) % _known.size()];
        return message.key == msgcat_id ? message : _learn(message, msgcat_id);
    }

    // What the text may hold when the record's fields hold these: as Oddities of VisibleText.h.
    static unsigned oddities_of_text(const KnownMessage& message, unsigned of_record) {
        const bool is_known = message.kind == KnownMessage::TEMPLATE || message.kind == KnownMessage::BARE;
        return is_known ? message.oddities | of_record : ~0u;
    }

    // Writes the text with the arguments, at most six, to `out` of SIZE bytes. Returns its size. An unknown
    // message shows its identity and arguments.
    size_t compose(const KnownMessage& message, ArgViews args, char* out);

    // "ERROR" in the language, or the name of a debug level; "" outside 0 to 57.
    std::string_view severity_word(int sev) const;
    // The same in English.
    static std::string_view severity_name(int sev);

private:
    const KnownMessage& _learn(KnownMessage& message, uint32_t msgcat_id);
    size_t _compose_anew(const KnownMessage& message, ArgViews args, char* out);

    void* _handle = nullptr; // owned; null without catalogs
    std::string _lang;
    std::array<std::string, SEV_APP_END> _words;
    std::array<KnownMessage, 256> _known; // a message has one place, which it shares with others
};
