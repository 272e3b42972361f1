// xos: everything the library asks of the operating system, as one abstract
// interface. `os()` returns the implementation in use: the system's own
// (platform/posix/) unless a test has put another in its place, such as the
// fault-injecting wrapper or the in-memory file system (platform/testing/).
//
//   xum::platform::os_error error;
//   const int fd = xum::platform::os().open_file("a.txt", 1, error);
//   if (fd < 0) report(error.text);            // "No such file or directory"
//
// This is the one place where the system's error numbers become the
// library's: every failing call fills an `os_error` with a category that
// callers branch on and the system's own text, which they show. The
// interface uses standard and core base types only, and is not installed:
// it belongs to the library and its tests.
//
// Thread safety: every member may be called from any thread; a file
// handle, a directory listing or a terminal belongs to one thread at a time.
// `os()` may be called at any time, also during static initialisation and
// destruction.
#ifndef XUM_PLATFORM_XOS_H
#define XUM_PLATFORM_XOS_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/xexport.h"

namespace xum::platform {

// --- Errors --------------------------------------------------------------------

// What went wrong, in the few categories callers tell apart.
enum class os_errc : unsigned char {
  none,
  not_found,            // a file or a folder on its path is missing (see which_missing)
  file_not_found,       // the file is missing, its folder exists
  path_not_found,       // a folder on the path is missing or no folder
  too_many_open_files,  // of the process or the system
  access_denied,        // no right to the file, a read-only file system, a folder
  invalid_access,       // an argument the system refuses
  no_space,             // the disk or the quota is full, the file may not grow
  io_error,             // the device failed
  other,
};

// A failure: its category and the system's own words for it.
struct os_error {
  os_errc code = os_errc::none;
  std::string text;  // e.g. "No space left on device"; empty when none

  explicit operator bool() const noexcept { return code != os_errc::none; }
};

// The error the system reports for `code`, with the system's text: what a
// test double hands out when it stages a failure.
XUM_API os_error make_os_error(os_errc code);

// --- Types shared by the members ----------------------------------------------

// An open file. Handles of the system are its file descriptors; other
// implementations number their own above them.
using file_handle = int;
inline constexpr file_handle invalid_handle = -1;

// Broken-down local time: year (e.g. 2024), month 1-12, day 1-31, hour 0-23,
// minute 0-59, second 0-60.
struct local_time {
  int year = 0;
  int month = 0;
  int day = 0;
  int hour = 0;
  int minute = 0;
  int second = 0;
};

// An open directory listing.
class os_directory {
 public:
  virtual ~os_directory() = default;
  // The next entry's name (without directory), valid until the next call or
  // until the listing goes; null at the end. "." and ".." come first, the
  // other entries follow in the file system's order.
  virtual const char* next() noexcept = 0;
};

// A started thread (opaque). It lives until both the thread has ended and
// the starter has called release_thread.
struct os_thread;
using thread_body = void (*)(void* arg);
// The most suspensions a thread can hold, as on Windows.
inline constexpr int max_suspend_count = 127;

// Event bits of poll_entry, the same in requests and results.
enum : unsigned { poll_in = 0x1, poll_out = 0x2, poll_error = 0x4, poll_hangup = 0x8 };

struct poll_entry {
  int fd;
  unsigned events;   // what to wait for
  unsigned revents;  // what happened (filled in)
};

// --- The interface -------------------------------------------------------------

class XUM_API xos {
 public:
  virtual ~xos() = default;

  // Files ------------------------------------------------------------------------
  // Paths are handed to the system as they are (only '/' separates).

  // Opens `name` the way a file mode asks: 1 read, 2 write from the start
  // without truncating, 3 read and write, 6 create or truncate and write, 10
  // as 2 (the caller positions at the end); any other value opens the
  // existing file without access rights. A directory is refused
  // (access_denied). A missing file reports not_found, which which_missing
  // tells apart when it matters. `regular`, when given, is set to whether
  // the file is a regular file (which the positioned calls can serve).
  virtual file_handle open_file(const char* name, int file_mode, os_error& error,
                                bool* regular = nullptr) noexcept = 0;
  // Opens for reading a file the caller has already opened as a regular
  // file once (an archive read again and again), without looking again at
  // what it is: one system call instead of two.
  virtual file_handle open_known_file(const char* name, os_error& error) noexcept = 0;
  // For a `name` that open_file found missing: file_not_found when its
  // folder exists, path_not_found when not (or when `name` is empty).
  virtual os_errc which_missing(const char* name) noexcept = 0;

  // Bytes read or written; fewer than `count` (0 included) only at the end
  // of a file or when `error` (if given) tells why. Interrupted calls are
  // retried, and a write goes on until everything is written or the system
  // refuses.
  virtual int read(file_handle f, void* buffer, int count, os_error* error = nullptr) noexcept = 0;
  virtual int write(file_handle f, const void* buffer, int count,
                    os_error* error = nullptr) noexcept = 0;
  // The same at an explicit position of a regular file, leaving the
  // handle's own position alone.
  virtual int read_at(file_handle f, void* buffer, int count, std::int64_t position,
                      os_error* error = nullptr) noexcept = 0;
  virtual int write_at(file_handle f, const void* buffer, int count, std::int64_t position,
                       os_error* error = nullptr) noexcept = 0;
  // Moves the position (origin 0 begin, 1 current, 2 end); the new position,
  // or -1 when the call fails.
  virtual std::int64_t seek(file_handle f, std::int64_t offset, int origin) noexcept = 0;
  // Cuts or extends the file to `size` bytes.
  virtual bool truncate(file_handle f, std::int64_t size, os_error* error = nullptr) noexcept = 0;
  // Writes the file's data and metadata through to the disk.
  virtual bool sync(file_handle f, os_error& error) noexcept = 0;
  // Closes the handle, ignoring what the system says; invalid handles are
  // ignored.
  virtual void close(file_handle f) noexcept = 0;
  // Closes the handle and reports whether the system accepted the close (a
  // network file system may report a failed write only here). The handle
  // is gone either way.
  virtual bool close_checked(file_handle f, os_error& error) noexcept = 0;

  // Whether anything (file, folder, device ...) exists under `path`.
  virtual bool file_exists(const char* path) noexcept = 0;
  // Whether `path` is a folder (links followed).
  virtual bool is_directory(const char* path) noexcept = 0;
  // Whether `path` itself is a symbolic link.
  virtual bool is_symbolic_link(const char* path) noexcept = 0;
  // The path that `path` names after following symbolic links in its last
  // part; `path` itself when it is no link or the link cannot be read.
  virtual std::string follow_links(const char* path) = 0;
  // The local time of the last modification of `path`; false (leaving
  // `out` alone) when the file cannot be opened for reading or is a folder.
  virtual bool file_modification_time(const char* path, local_time& out) noexcept = 0;
  // The local time of the last modification of the entry `path` of any
  // kind (folders too), following symbolic links, without opening it;
  // false when it does not exist or cannot be reached.
  virtual bool entry_modification_time(const char* path, local_time& out) noexcept = 0;
  // Reads the whole regular file into `bytes`; false when it cannot be read
  // (a device or a pipe is not read and never blocks).
  virtual bool read_whole_file(const char* path, std::string& bytes) = 0;
  // Deletes the file `path`; whether it was deleted.
  virtual bool remove_file(const char* path) noexcept = 0;

  // Replacing a file safely: a new file is written beside the old one and
  // renamed over it once complete (see replace_file).

  // Creates a new, empty file for reading and writing in the folder of
  // `target`, named "." + the target's name + "." + six unique characters +
  // ".tmp", and sets `temp_name`. A missing folder is path_not_found.
  virtual file_handle create_temp_beside(const char* target, std::string& temp_name,
                                         os_error& error) = 0;
  // Gives the file `f` the permission bits of the file `like`, when that
  // exists (a replaced file keeps its permissions); true when there is
  // nothing to copy.
  virtual bool copy_permissions(const char* like, file_handle f, os_error& error) noexcept = 0;
  // Renames `from` over `to` in one step; with `sync_folder`, writes the
  // folder's new entry through to the disk as well.
  virtual bool rename_over(const char* from, const char* to, bool sync_folder,
                           os_error& error) noexcept = 0;

  // Folders and temporary files -------------------------------------------------

  // Opens the folder `path` for listing; null when it cannot be opened.
  virtual std::unique_ptr<os_directory> open_directory(const char* path) = 0;
  // Creates `path` and every missing parent folder (private to the user);
  // true when it then exists as a folder (also when another process made it
  // meanwhile).
  virtual bool make_directories(const char* path) = 0;
  // The folder for temporary files with a trailing '/': $TMPDIR when set
  // and not empty, otherwise /tmp.
  virtual std::string temp_directory() = 0;
  // Creates a new empty file named `dir` + `prefix` + six unique characters
  // + `suffix` (`dir` ends with a separator or is empty) and returns its
  // name; empty when no file could be made.
  virtual std::string create_unique_file(const std::string& dir, const std::string& prefix,
                                         const std::string& suffix) = 0;

  // Process and environment -----------------------------------------------------

  // The value of the environment variable `name`; empty when unset.
  virtual std::string environment(const char* name) = 0;
  // The user's home folder: $HOME, else the user database; empty when
  // neither tells.
  virtual std::string home_directory() = 0;
  // Full path of the running executable; empty when it cannot be read.
  virtual std::string executable_path() = 0;
  // Whether the process runs with the superuser's rights (effective user 0),
  // which some programs it starts refuse.
  virtual bool superuser() noexcept = 0;
  // Whether the descriptor refers to a terminal.
  virtual bool is_terminal(int fd) noexcept = 0;
  // Ends the process at once with `code`: no destructors, no atexit
  // handlers, no buffered output flushed.
  [[noreturn]] virtual void terminate_process(int code) noexcept = 0;
  // Starts the program argv[0] (looked up on $PATH unless it holds a '/')
  // with the arguments argv[1..] in a process of its own that outlives
  // this one and is never waited for (a desktop opener, a browser): its
  // standard streams go to /dev/null, it leaves this process's session.
  // True once the program runs; false with `error` set when it cannot be
  // found or started (not_found for a program that is not there).
  virtual bool start_detached_process(const std::vector<std::string>& argv, os_error& error) = 0;

  // Loaded binaries: a module is named by the address at which its file is
  // mapped. The load address of the binary that contains `address` (null
  // when none does), and that of the executable.
  virtual const void* module_base_of(const void* address) noexcept = 0;
  virtual const void* executable_base() noexcept = 0;

  // Clock -----------------------------------------------------------------------

  // The local date and time now; `hundredths` receives the hundredths of
  // the current second (0-99).
  virtual local_time current_local_time(int& hundredths) noexcept = 0;
  // The local time of `seconds` since the epoch of the system clock; false
  // (leaving `out` alone) when the value cannot be represented.
  virtual bool local_time_of(long long seconds, local_time& out) noexcept = 0;
  // The date in the user's short date format (LC_TIME of the environment:
  // LC_ALL, LC_TIME, LANG), independent of the process locale; the C
  // locale's format when the environment names no usable locale.
  virtual std::string short_date_text(int year, int month, int day) = 0;

  // Threads ---------------------------------------------------------------------
  // Suspension counts as the Windows thread calls do: every suspend adds one
  // to the thread's suspend count, every resume takes one away, and the
  // thread runs only while the count is 0. It is real and asynchronous: the
  // thread stops wherever it is, by a signal (suspend_signal) whose handler
  // waits until the count is back at 0. A thread that blocks the signal
  // cannot be suspended, and suspend_thread waits until it unblocks it or
  // ends.

  // Starts a detached thread running body(arg). `priority` is a Windows
  // thread priority (-15 idle, -2 lowest, 0 normal, 2 highest, 15
  // time-critical), applied best effort. Null when no thread can be made.
  virtual os_thread* start_thread(thread_body body, void* arg, int priority) = 0;
  // Drops the starter's hold on `t`; null is ignored.
  virtual void release_thread(os_thread* t) noexcept = 0;
  // Adds one to the suspend count and returns the count before; when it was
  // 0, the thread is stopped before this returns (a thread suspending
  // itself stops here until another resumes it). At max_suspend_count
  // nothing changes and -1 is returned. A thread that has ended only counts.
  virtual int suspend_thread(os_thread* t) noexcept = 0;
  // Takes one from the suspend count and returns the count before; the
  // thread runs again at 0. At 0 nothing changes and 0 is returned.
  virtual int resume_thread(os_thread* t) noexcept = 0;
  // The signal that suspends threads.
  virtual int suspend_signal() noexcept = 0;
  // Sleeps the calling thread for `ms` milliseconds.
  virtual void sleep_ms(int ms) noexcept = 0;
  // Names the calling thread for debuggers and process listings (the
  // system keeps the first 15 bytes).
  virtual void set_current_thread_name(const char* name) noexcept = 0;

  // Waiting on descriptors, for the main loop -----------------------------------

  // Waits up to timeout_ms (-1: without limit) until one of the descriptors
  // is ready; how many are. An interrupted wait returns 0.
  virtual int poll(poll_entry* entries, std::size_t count, int timeout_ms) noexcept = 0;
  // A non-blocking pipe that wakes a waiting poll: fds[0] is read, fds[1]
  // written. False when it cannot be made.
  virtual bool make_wake_pipe(int fds[2]) noexcept = 0;
  // Writes one byte (a full pipe already wakes the reader).
  virtual void wake_pipe(int write_fd) noexcept = 0;
  // Reads whatever is pending.
  virtual void drain_pipe(int read_fd) noexcept = 0;
  virtual void close_fd(int fd) noexcept = 0;

  // TCP sockets -----------------------------------------------------------------
  // A socket is a descriptor: poll waits on it. Connected sockets block
  // (socket_receive alone never waits), have TCP_NODELAY set, are closed on
  // exec, and a send to a peer that went away fails instead of raising
  // SIGPIPE. Addresses are host names or numeric IPv4/IPv6 addresses.

  // Listens on `port` of `address` (empty: every local address; port 0: one
  // the system picks, which socket_port tells). A non-blocking listener
  // makes tcp_accept return at once when nobody waits. -1 on failure.
  virtual int tcp_listen(const char* address, int port, bool non_blocking,
                         os_error& error) noexcept = 0;
  // Takes one waiting connection from `listener` (a connected socket as
  // above); -1 when none waits (error.code none) or on failure.
  virtual int tcp_accept(int listener, os_error& error) noexcept = 0;
  // Connects to `host`:`port`. With `wait`, returns once connected; without,
  // returns at once with the connection under way: poll for poll_out, then
  // socket_connect_result tells how it went. -1 on failure.
  virtual int tcp_connect(const char* host, int port, bool wait, os_error& error) noexcept = 0;
  // Whether the connection that tcp_connect started without waiting has
  // been made (the socket then blocks like any connected one).
  virtual bool socket_connect_result(int socket, os_error& error) noexcept = 0;
  // The local port of a socket; -1 when it has none.
  virtual int socket_port(int socket) noexcept = 0;
  // Sends all `count` bytes, waiting while the system's buffer is full; the
  // bytes sent, fewer only when `error` (if given) tells why.
  virtual int socket_send(int socket, const void* data, int count,
                          os_error* error = nullptr) noexcept = 0;
  // Reads at most `count` of the bytes that have arrived, without waiting:
  // the bytes read, 0 when the peer has closed, -1 when nothing has arrived
  // (error.code none) or on failure.
  virtual int socket_receive(int socket, void* data, int count,
                             os_error* error = nullptr) noexcept = 0;
  // The bytes that have arrived and wait to be read; -1 on failure.
  virtual int socket_pending(int socket) noexcept = 0;
  // Ends both directions of the connection at once: every thread waiting on
  // the socket wakes up and sees it closed. The descriptor stays open.
  virtual void shutdown_socket(int socket) noexcept = 0;
  virtual void close_socket(int socket) noexcept = 0;

  // Unix-domain sockets ---------------------------------------------------------
  // Stream sockets named by a file path, for programs of one user on one
  // machine. Connected ones behave as the TCP sockets above (socket_send,
  // socket_receive, poll, shutdown_socket, close_socket).

  // Listens, without blocking in local_accept, on the socket file `path`
  // (at most 107 bytes). A socket file that nobody listens on any more (its
  // program died) is removed and taken over; one that a live program
  // listens on is refused ("Address already in use"). -1 on failure.
  virtual int local_listen(const char* path, os_error& error) noexcept = 0;
  // Takes one waiting connection; -1 when none waits (error.code none) or
  // on failure.
  virtual int local_accept(int listener, os_error& error) noexcept = 0;
  // Connects to the socket file `path`; -1 when nobody listens there.
  virtual int local_connect(const char* path, os_error& error) noexcept = 0;
  // Removes the socket file of a listener (after closing it): the system's
  // file, also under the in-memory file system of the tests.
  virtual void local_remove(const char* path) noexcept = 0;
  // The user's own directory for sockets and other run-time files:
  // $XDG_RUNTIME_DIR when it names a directory, else /tmp/xum-<uid>, made
  // readable by the user alone and refused when another user owns it or it
  // is not a plain directory. Empty (and `error` set) on failure.
  virtual std::string runtime_directory(os_error& error) = 0;

  // For leak checks: the descriptors open in the process and its threads;
  // -1 when the system cannot tell.
  virtual int open_descriptor_count() noexcept = 0;
  virtual int thread_count() noexcept = 0;

  // The controlling terminal ----------------------------------------------------

  // Opens a terminal device for reading and writing ("/dev/tty" is the
  // controlling terminal); -1 when there is none.
  virtual int open_terminal(const char* device) noexcept = 0;
  // Writes all of `text`; false on an error.
  virtual bool write_terminal(int fd, std::string_view text) noexcept = 0;
  // Reads one line up to its line feed; carriage returns are dropped. False
  // at end of input or on an error, with `line` holding what came before.
  virtual bool read_terminal_line(int fd, std::string& line) = 0;
  virtual void close_terminal(int fd) noexcept = 0;

  // Built on the members above (the same for every implementation) ------------

  // Writes a new file beside `path`, writes it through to the disk and
  // renames it over `path`, so that readers and a crash see either the old
  // or the new contents, never a mixture. A replaced file keeps its
  // permission bits. On failure nothing changes, the
  // new file is gone and `error` tells why.
  bool replace_file(const char* path, const void* data, std::size_t size, os_error& error);
  // The folder of the current user's settings store, without a trailing
  // '/': $XUM_REGISTRY_ROOT, else $XDG_CONFIG_HOME/xum/registry, else
  // ~/.config/xum/registry. Empty variables count as unset.
  std::string registry_root();
};

// --- Which implementation is in use --------------------------------------------

// The implementation in use: the one a scoped_os installed last, else the
// system's. Never null, never destroyed.
XUM_API xos& os() noexcept;

// The system's own implementation, made on first use and never destroyed.
XUM_API xos& system_os() noexcept;

// Puts `replacement` in the place of the implementation in use for the life
// of the object, and the previous one back when it goes. For tests: install
// it before the code under test opens anything and while no other thread
// calls the system, and destroy installers in the reverse order of their
// making. A handle belongs to the implementation that opened it (the
// doubles pass the handles they did not make on to the one they wrap).
class XUM_API scoped_os {
 public:
  explicit scoped_os(xos& replacement) noexcept;
  ~scoped_os();
  scoped_os(const scoped_os&) = delete;
  scoped_os& operator=(const scoped_os&) = delete;

 private:
  [[maybe_unused]] xos* const replacement_;  // checked by an assertion only
  xos* const previous_;
};

}  // namespace xum::platform

#endif  // XUM_PLATFORM_XOS_H
