// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

/// What the comments of a cron table mean, judged by their form alone.
///
/// There are two questions: is a comment a job that somebody has switched off, and does it name the
/// job below it? People switch a job off by putting `#` in front of its line, so the text behind
/// the `#` must be a complete job line. That is not enough: the legends that tables are delivered
/// with, and sentences about schedules, can have that form by accident ("# * * * * * user-name
/// command to be executed", "# @daily is the same as 0 0 * * *"). The functions here recognise
/// these. They guess, and can be wrong both ways. In doubt, what is written like a command counts
/// as a job: it does less harm to show an example as a job than not to show a job.
///
/// All texts are valid UTF-8. A function that takes a comment's text takes what `commentText`
/// returns.
namespace monitor {

/// The text of a comment line. The `#`s and blanks in front are left out. So are the blanks at the
/// end, and a run of `#`s there with a blank before it, as in a box around a comment.
std::string_view commentText(std::string_view line);

/// Whether the text has no letter and no digit: an empty comment, or a line across the page.
bool saysNothing(std::string_view text);

/// Whether the text is a line of a drawing that explains the fields: it begins with a vertical bar,
/// a corner (".-", "+-", "`-"), or a box-drawing character.
bool isDrawing(std::string_view text);

/// Whether the text is a heading over the columns of a table ("m h dom mon dow user command"): it
/// has at least five words, and each is the name of a column or a placeholder.
bool isHeading(std::string_view text);

/// Whether the text introduces an example. It does when "e.g." is one of its words. It also does
/// when "example" or "examples" is its first word, stands after "for", or stands anywhere in a text
/// that ends in a colon. ("Renew the certificate of the example site" introduces none.)
bool announcesExample(std::string_view text);

/// Whether a user field or a command begins with a placeholder: "user-name", "username", "command",
/// "commands", "command-to-be-run", "<anything>". ("command -v x" is a command of the shell, and no
/// placeholder.)
bool isPlaceholder(std::string_view text);

/// Whether the text is written like a command and not like a sentence.
///
/// A sign of shell is a path, an option, a quote, a variable, an assignment, a redirection or a
/// pipe. The text is a sentence when one of these holds:
/// - It begins as no command begins: with a character outside ASCII, or with a sign that is none of
///   `/ . ~ $ [ ( { \ : _`, no quote and no backquote.
/// - One of the little words of English ("is", "the", "every", "to", ...) stands before the first
///   sign of shell. A text that is only this word is a command. So is one that begins with a
///   command whose arguments are free text (echo, printf, logger, wall).
/// - It has no sign of shell, and the last word ends with a punctuation mark or the text begins
///   with a bracket.
/// - It begins with if, for, while, until or case, and has no `;`. With one it is a command.
bool readsLikeCommand(std::string_view text);

/// The text as the name of the job below it, with one space between words.
std::string nameFrom(std::string_view text);

}  // namespace monitor
