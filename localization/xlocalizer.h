// xlocalizer: translates the visible strings of an application from a
// dictionary file beside the executable, one file per user language, and
// collects that dictionary by itself while the application runs.
//
//   xum::xlocalizer loc;
//   loc.open("");                        // app_DEU.loc beside ./app, for a German user
//   loc.strings(xum::loc_strings);       // the catalogue, in the section "Strings"
//   loc.begin_section("Main");
//   xum::xstr title = "Settings";
//   loc.string("Title", title);          // "Einstellungen" once translated
//   loc.end_section();
//   loc.end_writing();                   // rewrites the file if anything was new
//
// The dictionary is a structured property file (formats/xstruct_format.h)
// with the identifier "_Localization": a section per group of strings, in
// it a section per string named by its key, holding up to three texts:
//   <Main
//     <Title
//       o=Settings          the source text when the entry was last written
//       t=Einstellungen     the translation; "!#!" not yet, "!@!" same as "o"
//       p=Einstellung       the previous translation after "o" changed
//     > (Title)
//   > (Main)
// Missing texts read as "!#!"; an empty "o" or "t" and a "p" of "!#!" are
// left out when written.
//
// The user's language decides everything: for the base language "ENU" the
// localizer stays inactive, reads and writes nothing and leaves every text
// as it is. Otherwise each `string` call reads the entry from the loaded
// dictionary and records it in a fresh copy; when some entry was new or
// its source text changed (`modified`), `end_writing` replaces the file by
// that copy, which holds exactly the entries asked for in this run. The
// file is replaced atomically (written beside it, synced, renamed over it),
// so it is always whole; when entries that held a translation are dropped
// because this run did not ask for them, the old file is kept beside the
// new one as "<file>.bak" first. After `end_writing` the localizer only
// reads: `string` is one hash lookup, never touches the disk and allocates
// nothing (a translation is made once per entry and then shared).
//
// Errors: a dictionary with another identifier or broken syntax fails
// `open` (and the reload in `end_writing`) with the structured format's
// error through xerror; a file that cannot be written fails `end_writing`
// with the stream's error ("Permission denied !" + "File: " + name, ...),
// after which the old file is unchanged and `end_writing` may be called
// again.
//
// Thread safety: a localizer belongs to one thread (the user-interface
// thread), as do the catalogue records it translates.
#ifndef XUM_LOCALIZATION_XLOCALIZER_H
#define XUM_LOCALIZATION_XLOCALIZER_H

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/xexport.h"
#include "core/xstr.h"

namespace xum {

class TComponent;
class TStrings;
struct xcomponent_localizer;

namespace detail {
struct loc_index;
}

class XUM_API xlocalizer {
 public:
  // The dictionary's file identifier.
  static constexpr std::string_view file_identifier = "_Localization";
  // Marks of the "t" text: not translated yet, and the same as "o".
  static constexpr std::string_view not_translated = "!#!";
  static constexpr std::string_view same_as_source = "!@!";

  // An inactive localizer with nothing loaded.
  xlocalizer();
  // When active and end_writing has not run, runs it (errors are
  // swallowed here: call end_writing to see them); frees everything.
  ~xlocalizer();
  xlocalizer(const xlocalizer&) = delete;
  xlocalizer& operator=(const xlocalizer&) = delete;

  // Starts a run in the user's language (platform/xlanguages.h): the
  // dictionary is the folder of the running executable + `name` with its
  // extension replaced by "_" + language + ".loc" ("app.exe", "DEU" ->
  // "app_DEU.loc"); an empty `name` stands for the executable's own file
  // name. Loads the dictionary when it exists. A broken dictionary is
  // reported through xerror (the localizer is then active with nothing
  // loaded).
  void open(const xstr& name);
  // The same in the given language ("ENU" switches localization off).
  void open(const xstr& name, const xstr& language);
  // A run in `language` on the dictionary `file`, wherever it lies (a
  // program that keeps its dictionaries elsewhere, a tool, a test).
  void open_file(const xstr& file, const xstr& language);

  // Enters (and, while collecting, records) a section; sections nest and
  // each call is paired with end_section. Whether the dictionary holds it.
  bool begin_section(const xstr& name);
  // Leaves the section entered last; throws xexception 0 when none is open.
  void end_section();

  // The entry operation: looks up `key` in the current section and
  // replaces `text` by its translation when the entry's source text equals
  // `text` and it has one; records the entry while collecting. A key asked
  // for again in the same section and run gives the same answer and is
  // recorded once. Does nothing when inactive, nor for a text that the
  // dictionary file cannot hold as it is (one with a line break, or ending
  // in a tab or in " @"): such a text is never translated.
  void string(const xstr& key, xstr& text);
  // When active: `string(key, text)` for each record from `first` along the
  // `next` links, inside the section "Strings".
  void strings(xloc_str* first);

  // Ends collecting: when some entry was new or changed, replaces the file
  // by the entries asked for in this run and reloads it; otherwise leaves
  // the file alone. Later calls only read. Does nothing when inactive or
  // already done. Failures (see above) leave the run collecting.
  void end_writing();

  // When active, calls the callback of each record from `first` along the
  // `next` links.
  void components(xcomponent_localizer* first);

  // Names the component walk skips entirely, or skips the owned components
  // of (xcomponent_localizer.h).
  void exclude_component(const xstr& name) { excluded_components_.push_back(name); }
  void exclude_component_childs(const xstr& name) { excluded_component_childs_.push_back(name); }

  // The component walk (defined in xcomponent_localizer.cpp).
  // Translates `c` and everything it owns in a section named `name` (null:
  // the component's Name).
  void component(TComponent* c, const char* name);
  // One property value: "OK" becomes the catalogue's "OK" text; a value
  // that is neither empty nor a number goes through string(key, value).
  xstr property(const xstr& key, const xstr& value);
  // A string list line by line, in the section `key`, keyed "0", "1", ...
  void strings_list(const xstr& key, TStrings* list);
  // component(form, null) for every form the application object owns whose
  // name is not excluded.
  void created_forms();

  // When set, a `text` that differs from the stored source text is taken
  // as the translation of that source text instead of a new source text.
  bool text_is_translation = false;

  bool active() const noexcept { return active_; }
  bool write_done() const noexcept { return write_done_; }
  bool modified() const noexcept { return modified_; }
  const xstr& file_name() const noexcept { return file_name_; }
  const xstr& language() const noexcept { return language_; }
  const std::vector<xstr>& excluded_components() const noexcept { return excluded_components_; }
  const std::vector<xstr>& excluded_component_childs() const noexcept {
    return excluded_component_childs_;
  }

 private:
  // An open section: its node in the index (-1 when it has none) and the
  // anonymous sections met in it so far.
  struct frame {
    int node;
    int anonymous;
    bool recorded;  // entered in the run's requests
  };

  // Loads file_name_ (or nothing when it does not exist) and indexes it.
  void load();
  // The node of the section `name` in the current one, or -1; made when
  // `make` is set and it is missing. A name with a line break, which the
  // file cannot hold, has none.
  int child(const xstr& name, bool make);
  // The fresh dictionary made from the run's requests, saved in text form.
  std::string build_dictionary() const;
  // Whether the loaded dictionary holds a translation that this run did
  // not ask for (and a rewrite would drop).
  bool drops_translations() const;
  // Copies the current file to file_name_ + ".bak", atomically.
  void keep_backup() const;

  bool active_ = false;
  bool write_done_ = false;
  bool modified_ = false;
  xstr file_name_;
  xstr language_;
  // The loaded dictionary (the reader), its index and the run's requests.
  std::unique_ptr<detail::loc_index> index_;
  // The open sections, the root first (never empty).
  std::vector<frame> stack_;
  std::vector<xstr> excluded_components_;
  std::vector<xstr> excluded_component_childs_;
};

}  // namespace xum

#endif  // XUM_LOCALIZATION_XLOCALIZER_H
