// The summary of one file, from its header alone.
#include "LdfFile.h"
#include "messages.h"
#include "taqmsg.h"

#include "primitives/log/LocalTimeText.h"

#include <cstdio>
#include <memory>
#include <new>

namespace {

constexpr size_t TIME_SIZE = 256;

const char* local_time(int32_t seconds, char (&text)[TIME_SIZE]) {
    return LocalTimeText("%c", text).at(seconds).empty() ? "" : text; // as QENUtils::i18n_localtime
}

void compose(const ldf_header_t& h, char* text, size_t size) {
    char created[TIME_SIZE], modified[TIME_SIZE];
    std::snprintf(text, size,
                  "#Attribute             Value\n"
                  "Version                %d.%d\n"
                  "System name            %s\n"
                  "Platform               %s\n"
                  "Create Date            %s\n"
                  "Last Modify Time       %s\n\n"
                  "CRITICAL Messages      %d\n"
                  "ERROR Messages         %d\n"
                  "WARNING Messages       %d\n"
                  "NOTICE Messages        %d\n"
                  "INFO Messages          %d\n\n"
                  "QEN Messages           %d\n"
                  "Cluster Messages       %d\n"
                  "System Messages        %d\n"
                  "Group Messages         %d\n"
                  "Agent Messages         %d\n"
                  "Resource Messages      %d\n\n"
                  "Total Messages         %d\n",
                  h.ver_major, h.ver_minor, h.system, ldf_platform_name(h.platform),
                  local_time(h.datetime_create, created), local_time(h.datetime_modify, modified),
                  h.total_critical, h.total_error, h.total_warning, h.total_notice, h.total_info,
                  h.total_qen_msg, h.total_clu_msg, h.total_sys_msg, h.total_grp_msg, h.total_agt_msg,
                  h.total_res_msg, h.total_msgs);
}

} // namespace

int display_info(const char* pathp, const char* ldf_filep) {
    const std::unique_ptr<LdfReader> reader(new (std::nothrow) LdfReader);
    if (reader == nullptr) {
        TAQMSG_REPORT(NO_MEMORY);
        return LDF_ENOMEM;
    }
    const int rc = open_ldf(*reader, pathp, ldf_filep);
    if (rc != LDF_OK) return rc;
    char text[TAQMSG_TEXT_SIZE];
    compose(*reader->get_header(), text, sizeof text);
    if (_unified_log_function__ != nullptr) TAQMSG_RESULT(_unified_log_function__, __func__, text);
    return LDF_OK;
}
