// Roles of threads in first-failure data capture: the threads of a role share a ring of entries.
#pragma once

inline namespace taq_1 {

enum _ffdc_role : int {
    FFDC_ROLE_MIN = 0,
    FFDC_ROLE_AGFW_MAIN = 1,
    FFDC_ROLE_IMF_THREAD = 2,
    FFDC_ROLE_NOTIFIER_THREAD = 3,
    FFDC_ROLE_TIMER_THREAD = 4,
    FFDC_ROLE_SVC_THREAD = 5,
    FFDC_ROLE_UBO = 6,
    FFDC_ROLE_MAX = 7, // in a dump request: all roles
};
using FFDCRoleT = _ffdc_role;

enum _ffdc_result : int { FFDC_SUCCESS = 0, FFDC_FAILURE = 1 };
using FFDCResult = _ffdc_result;

// Names of the roles in file names and reports.
extern const char* const ubo_FFDCRoleName[FFDC_ROLE_MAX + 1];

} // namespace taq_1
