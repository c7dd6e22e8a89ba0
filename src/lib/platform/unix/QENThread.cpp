// Making, joining and ending threads; failures are reported through the log.
#include "platform/unix/QENThread.h"

#include "platform/unix/Linux/QENThreadProbe.h"
#include "platform/unix/QENHooks.h"
#include "platform/unix/QENPlatform.h"

#include <cerrno>
#include <cstdio>
#include <mutex>
#include <new>
#include <sys/select.h>

inline namespace taq_1 {

pthread_key_t qen_key_logfd;
pthread_key_t qen_key_logfile;

namespace {

std::mutex tsd_mutex; // guards tsd_keys_made and the making and deleting of the keys
bool tsd_keys_made = false;

// Message numbers of the platform's category.
enum thread_message {
    MSG_NOT_CREATED = 13162,
    MSG_NOT_JOINED = 13163,
    MSG_NO_ATTRIBUTES = 13164,
    MSG_NOT_JOINABLE = 13165,
    MSG_NOT_SYSTEM_SCOPE = 13166,
    MSG_NULL_ATTRIBUTES = 17357,
    MSG_NO_MEMORY = 17358,
};

// Until the log has started, only the system log hears of a failure.
void report(thread_message number, const char* function, int line, const char* text,
            const char* arg1 = nullptr, const char* arg2 = nullptr) {
    const auto hook = QENGetHooks().thread_failure;
    if (hook != nullptr)
        hook({number, text, {arg1, arg2}, function, __FILE__, line});
    else
        QENSyslog(QEN_THREAD_FAILURE_SEVERITY, "%s", text);
}

void free_attributes(pthread_attr_t* attr) {
    pthread_attr_destroy(attr);
    delete attr;
}

void delete_tsd_keys() {
    const std::lock_guard guard(tsd_mutex);
    if (!tsd_keys_made) return;
    pthread_key_delete(qen_key_logfd);
    pthread_key_delete(qen_key_logfile);
    tsd_keys_made = false;
}

void report_join_failure(pthread_t tid, int rc, const char* function, int line) {
    const char* reason = rc == EINVAL  ? "Thread is not joinable"
                         : rc == ESRCH ? "No such thread"
                                       : "Unknown error";
    char id[24], text[128];
    std::snprintf(id, sizeof id, "%lu", static_cast<unsigned long>(tid));
    std::snprintf(text, sizeof text, "Could not join thread(%s) - %s", id, reason);
    report(MSG_NOT_JOINED, function, line, text, id, reason);
}

} // namespace

void QENThreadInit(pthread_attr_t** attrp) {
    if (attrp == nullptr)
        return report(MSG_NULL_ATTRIBUTES, __func__, __LINE__, "Thread attributes object is NULL");
    *attrp = nullptr;
    auto* attr = new (std::nothrow) pthread_attr_t;
    if (attr == nullptr)
        return report(MSG_NO_MEMORY, __func__, __LINE__, "Failed to allocate memory to pthread_attr_t");
    if (pthread_attr_init(attr) != 0) {
        delete attr;
        return report(MSG_NO_ATTRIBUTES, __func__, __LINE__, "Could not initialize thread attributes");
    }
    if (pthread_attr_setdetachstate(attr, PTHREAD_CREATE_JOINABLE) != 0) {
        free_attributes(attr);
        return report(MSG_NOT_JOINABLE, __func__, __LINE__,
                      "Could not set thread attribute to PTHREAD_CREATE_JOINABLE");
    }
    if (pthread_attr_setscope(attr, PTHREAD_SCOPE_SYSTEM) != 0) {
        free_attributes(attr);
        return report(MSG_NOT_SYSTEM_SCOPE, __func__, __LINE__,
                      "Could not set thread attribute to SYSTEM scope");
    }
    *attrp = attr;
}

void QENThreadDeinit(pthread_attr_t** attrp) {
    delete_tsd_keys();
    if (attrp == nullptr || *attrp == nullptr) return;
    free_attributes(*attrp);
    *attrp = nullptr;
}

int QENThreadCreate(const pthread_attr_t* attrp, pthread_t* pthread_id, void* (*start_func)(void*), void* arg,
                    int) {
    if (pthread_create(pthread_id, attrp, start_func, arg) == 0) return 0;
    report(MSG_NOT_CREATED, __func__, __LINE__, "Could not create thread");
    return -1;
}

int QENThreadJoin(pthread_t tid, void** valp) {
    void* value = nullptr;
    const int rc = QENThreadMayExist(tid) ? pthread_join(tid, &value) : ESRCH;
    if (valp != nullptr) *valp = rc == 0 ? value : nullptr;
    if (rc != 0) report_join_failure(tid, rc, __func__, __LINE__);
    return rc;
}

pthread_t QENThreadGetCurrent() {
    return pthread_self();
}

void QENThreadExit(void* retval) {
    pthread_exit(retval);
}

namespace {

void sleep_for(suseconds_t microseconds) {
    timeval span = {0, microseconds};
    select(0, nullptr, nullptr, nullptr, &span);
}

} // namespace

void QENThreadYield() {
    sleep_for(1000);
}

void QENThreadNap() {
    sleep_for(500);
}

int QENThreadInitTsdKeys() {
    const std::lock_guard guard(tsd_mutex);
    if (tsd_keys_made) return 0;
    if (pthread_key_create(&qen_key_logfd, nullptr) != 0) return -1;
    if (pthread_key_create(&qen_key_logfile, nullptr) != 0) {
        pthread_key_delete(qen_key_logfd);
        return -1;
    }
    tsd_keys_made = true;
    return 0;
}

} // namespace taq_1
