// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

/// What the comments of a cron table say, told apart by their look alone.
///
/// Two questions are asked of a comment: is it a job that somebody has switched off, and does it
/// name the job below it? A job is switched off by putting `#` in front of its line, so the text
/// behind the `#` has to be a job line from end to end. That is not enough: the legends that tables
/// are delivered with, and sentences about schedules, can have that form by accident
/// ("# * * * * * user-name command to be executed", "# @daily is the same as 0 0 * * *"). The
/// functions here know these. They are guesses in both directions, and made so that what is
/// written like a command stays a job: a job shown although it is an example does less harm than a
/// job that is not shown.
///
/// All texts are valid UTF-8. Where a comment's text is asked for, it is what `commentText`
/// returns.
namespace monitor {

/// The text of a comment line: without the `#`s and blanks in front, and without the blanks and a
/// free-standing run of `#`s at the end (as boxes drawn around a comment have them).
std::string_view commentText(std::string_view line);

/// Whether the text has no letter and no digit: an empty comment, or a rule drawn across the page.
bool saysNothing(std::string_view text);

/// Whether the text is a line of a drawing that explains the fields: it begins with a stroke down,
/// the corner of one (".-", "+-", "`-"), or a box-drawing character.
bool isDrawing(std::string_view text);

/// Whether the text is a heading over the columns of a table ("m h dom mon dow user command"): at
/// least five words, and none that is not a column's name.
bool isHeading(std::string_view text);

/// Whether the text announces an example: "e.g." is one of its words, or "example" or "examples"
/// is, at its beginning, after "for", or anywhere when it ends in a colon. ("Renew the certificate
/// of the example site" announces none.)
bool announcesExample(std::string_view text);

/// Whether a user field or the beginning of a command stands for what is to be written there:
/// "user-name", "username", "command", "commands", "command-to-be-run", "<anything>".
/// ("command -v x" is a command of the shell and no such word.)
bool isPlaceholder(std::string_view text);

/// Whether the text is written like a command and not like a sentence.
///
/// It is a sentence if
/// - it begins with something no command begins with: a sign other than `/ . ~ $ [ ( { \ : _`, a
///   quote, a backquote, or a character outside ASCII;
/// - one of the little words of English ("is", "the", "every", "to", ...) stands in it before the
///   first sign of shell: a path, an option, a quote, a variable, an assignment, a redirection, a
///   pipe. They may stand alone, and behind commands whose arguments are free text (echo, printf,
///   logger, wall);
/// - there is no sign of shell at all and the last word ends with a punctuation mark, or the first
///   is a bracket.
bool readsLikeCommand(std::string_view text);

/// The text as the name of the job below it: one space between words.
std::string nameFrom(std::string_view text);

}  // namespace monitor
