// The platform's command runner for simple file commands (cp, mv, rm).
#pragma once

// Runs one "cp", "mv" or "rm" command line, such as
// "cp /mnt/mtd/code/config_file/sensor1.cfg /mnt/mtd/code/config_file/sensor2.cfg -rf"
// or "rm /mnt/mtd/code/config_file/sensor*.cfg -rf", without a shell: the
// line is split on blanks, every absolute path is mapped under the filesystem
// root (kvroot::resolve) and `*`, `?` and `[...]` patterns in paths are
// expanded afterwards (a pattern that matches nothing is passed on as it
// stands, as a shell does). Operands starting with '-' are options and pass
// unchanged. The program runs with standard input from /dev/null and is
// killed once it has run `timeoutSeconds` real seconds (at least 1).
//
// Returns the command's exit status (0 = success; 128 + signal number when a
// signal ended it), or -1 when the command is refused (empty, another
// program, shell metacharacters such as ; | & $ ` > < or quotes, a ".." path
// component), cannot be started, cannot be waited for, or timed out. A refused
// command prints "sy_system: refused command (<command>)", a timed-out one
// "sy_system: command timed out (<command>)"; success prints nothing.
int sy_system(const char* command, int timeoutSeconds);

// Test-only: `allowSleep` also permits the program "sleep", so that a test
// can run a command that outlasts its time-out, and `msPerTimeoutSecond` sets
// how many real milliseconds one second of time-out lasts, so that the test
// need not wait whole seconds. sy_system_setTestMode(false, 1000) is the
// normal behaviour; nothing but tests calls this.
void sy_system_setTestMode(bool allowSleep, int msPerTimeoutSecond);
