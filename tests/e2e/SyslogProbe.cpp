// Gives each argument to syslog(), as bulksms once did with every log line: the control that
// shows PrivateLogTest's syslog catcher sees what syslog() is given.
#include <syslog.h>

int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i)
        syslog(LOG_NOTICE, "%s", argv[i]);
    return 0;
}
