/* Runs a command for whose processes a disk becomes full, to the byte.

     full_disk FOLDER BYTES COMMAND [ARGUMENTS]    BYTES more can be written to files below FOLDER, in all;
                                                   then "No space left on device"
     full_disk FOLDER count COMMAND [ARGUMENTS]    no limit; how many were written, on standard error

   The kernel stops the command's processes, children included, at the calls that write; a call that writes too much is
   cut or refused there. What copies inside the kernel is refused as if the kernel could not, so that it comes as a
   write. Nothing is given back for files that go. The exit status is the command's, 128 and the signal for a killed one.
   FOLDER is the name outside a chroot, without links in it. */
#include <errno.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

static const char *folder;
static long room = -1; /* bytes; below 0: counting */
static long written;

#define TRACE(number)                                                                                        \
    BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, (number), 0, 1), BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRACE)

static void stopAtWrites(void) {
    struct sock_filter filter[] = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(struct seccomp_data, nr)),
                                   TRACE(SYS_write),
                                   TRACE(SYS_pwrite64),
                                   TRACE(SYS_writev),
                                   TRACE(SYS_copy_file_range),
                                   TRACE(SYS_sendfile),
                                   BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
    const struct sock_fprog program = {sizeof filter / sizeof filter[0], filter};

    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0)
        _exit(126);
}

static int liesInFolder(pid_t process, unsigned long fd) {
    char link[64];
    char name[4096];
    const size_t length = strlen(folder);

    (void)snprintf(link, sizeof link, "/proc/%d/fd/%lu", (int)process, fd);
    const ssize_t size = readlink(link, name, sizeof name - 1);
    return size > (ssize_t)length && strncmp(name, folder, length) == 0 && name[length] == '/';
}

/* The call is passed over and answers with the error. */
static void refuse(struct user_regs_struct *registers, int error) {
    registers->orig_rax = ~0ULL;
    registers->rax = (unsigned long long)(-(long long)error);
}

static void limitWrite(pid_t process) {
    struct user_regs_struct registers;

    if (ptrace(PTRACE_GETREGS, process, NULL, &registers) != 0)
        return;
    const long call = (long)registers.orig_rax;
    const int target = call == SYS_copy_file_range ? (int)registers.rdx : (int)registers.rdi;
    if (!liesInFolder(process, (unsigned long)target))
        return;
    if (call == SYS_write || call == SYS_pwrite64) {
        const long wanted = (long)registers.rdx;
        const long allowed = room < 0 || wanted <= room ? wanted : room;
        written += allowed;
        room -= room < 0 ? 0 : allowed;
        registers.rdx = (unsigned long)allowed;
        if (allowed == 0 && wanted > 0)
            refuse(&registers, ENOSPC);
    } else {
        refuse(&registers, call == SYS_writev ? ENOSPC : EINVAL);
    }
    (void)ptrace(PTRACE_SETREGS, process, NULL, &registers);
}

/* Lets a stopped process go on, with the signal that it was stopped for, if it was one. */
static void goOn(pid_t process, int status) {
    const int event = status >> 16;
    int signal = 0;

    if (event == PTRACE_EVENT_SECCOMP)
        limitWrite(process);
    else if (event == 0)
        signal = WSTOPSIG(status);
    else if (event == PTRACE_EVENT_STOP)
        signal = 0;
    (void)ptrace(PTRACE_CONT, process, NULL, (void *)(long)signal);
}

static int follow(pid_t first) {
    int status = 0;
    int result = 1;

    for (;;) {
        const pid_t process = waitpid(-1, &status, __WALL);
        if (process < 0)
            return result;
        if (WIFSTOPPED(status)) {
            goOn(process, status);
        } else if (process == first) {
            result = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        }
    }
}

int main(int argc, char **argv) {
    if (argc < 4) {
        fprintf(stderr, "usage: full_disk FOLDER BYTES|count COMMAND [ARGUMENTS]\n");
        return 2;
    }
    folder = argv[1];
    if (strcmp(argv[2], "count") != 0)
        room = strtol(argv[2], NULL, 10);
    int ready[2];
    if (pipe(ready) != 0)
        return 2;
    const pid_t child = fork();
    if (child == 0) {
        char go = 0;
        (void)close(ready[1]);
        if (read(ready[0], &go, 1) < 0)
            _exit(126);
        (void)close(ready[0]);
        stopAtWrites();
        execvp(argv[3], argv + 3);
        _exit(127);
    }
    const long options = PTRACE_O_TRACESECCOMP | PTRACE_O_TRACEFORK | PTRACE_O_TRACEVFORK |
                         PTRACE_O_TRACECLONE | PTRACE_O_EXITKILL;
    if (ptrace(PTRACE_SEIZE, child, NULL, (void *)options) != 0) {
        perror("full_disk: ptrace");
        return 2;
    }
    (void)close(ready[0]);
    (void)close(ready[1]);
    const int result = follow(child);
    if (room < 0)
        fprintf(stderr, "%ld\n", written);
    return result;
}
