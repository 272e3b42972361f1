// Starting a program that outlives this process: a desktop opener or a
// browser is started and never waited for.
//
// The program runs in a grandchild: the child starts a session of its own,
// forks again and ends at once, so this process reaps it straight away and
// the program is adopted by the system (no zombie is ever left behind). A
// close-on-exec pipe tells the caller whether the program started: it
// closes silently on a successful exec, or carries the exec's errno.
// Between fork and exec only async-signal-safe calls are made (the program
// is looked up on $PATH before forking), as the process may have threads.
#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <sys/stat.h>
#include <sys/wait.h>

#include "platform/posix/xposix_os.h"

namespace xum::platform {

namespace {

bool is_executable_file(const std::string& path) {
  struct stat st {};
  return ::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode) && ::access(path.c_str(), X_OK) == 0;
}

// argv[0] as a path to run: itself when it names a folder, else the first
// executable of that name on $PATH; empty when there is none.
std::string find_program(const std::string& name) {
  if (name.find('/') != std::string::npos) return name;
  const char* env = ::getenv("PATH");
  const std::string path = env != nullptr && *env != '\0' ? env : "/usr/local/bin:/usr/bin:/bin";
  std::size_t begin = 0;
  for (;;) {
    const std::size_t end = path.find(':', begin);
    std::string candidate(path, begin, end == std::string::npos ? std::string::npos : end - begin);
    if (candidate.empty()) candidate.push_back('.');
    candidate.push_back('/');
    candidate.append(name);
    if (is_executable_file(candidate)) return candidate;
    if (end == std::string::npos) return std::string();
    begin = end + 1;
  }
}

void write_errno(int fd, int err) noexcept {
  const ssize_t n = ::write(fd, &err, sizeof err);
  (void)n;  // nothing more to do in a child about to exit
}

}  // namespace

bool posix_os::start_detached_process(const std::vector<std::string>& argv, os_error& error) {
  error = {};
  if (argv.empty() || argv[0].empty()) {
    error = error_from_errno(EINVAL);
    return false;
  }
  const std::string program = find_program(argv[0]);
  if (program.empty()) {
    error = error_from_errno(ENOENT);
    return false;
  }
  std::vector<char*> args;
  for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
  args.push_back(nullptr);

  int report[2];
  if (::pipe2(report, O_CLOEXEC) != 0) {
    error = error_from_errno(errno);
    return false;
  }
  const pid_t child = ::fork();
  if (child < 0) {
    error = error_from_errno(errno);
    ::close(report[0]);
    ::close(report[1]);
    return false;
  }
  if (child == 0) {
    ::close(report[0]);
    ::setsid();
    const pid_t grandchild = ::fork();
    if (grandchild < 0) {
      write_errno(report[1], errno);
      ::_exit(1);
    }
    if (grandchild > 0) ::_exit(0);
    const int null_fd = ::open("/dev/null", O_RDWR);
    if (null_fd >= 0) {
      ::dup2(null_fd, 0);
      ::dup2(null_fd, 1);
      ::dup2(null_fd, 2);
      if (null_fd > 2) ::close(null_fd);
    }
    ::execv(program.c_str(), args.data());
    write_errno(report[1], errno);
    ::_exit(127);
  }
  ::close(report[1]);
  int status = 0;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  int err = 0;
  ssize_t n;
  while ((n = ::read(report[0], &err, sizeof err)) < 0 && errno == EINTR) {
  }
  ::close(report[0]);
  if (n == static_cast<ssize_t>(sizeof err)) {
    error = error_from_errno(err);
    return false;
  }
  return true;
}

}  // namespace xum::platform
