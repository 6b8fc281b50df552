#pragma once

#include "qel/display/QelPopupMenu.h"

#include <string>
#include <vector>

class ViewerSession;

/// Scripts drive the viewer without a person, one command a line (a line starting with "#" is a comment;
/// words with blanks go in double quotes):
///
///     open FILE               add shape|light|grid|"clip plane" [NAME]      select NAME|none
///     new                     pick X Y [toggle]       band X0 Y0 X1 Y1 [add]
///     set PROPERTY VALUE      expression PROPERTY TEXT                      press PROPERTY
///     view front|back|left|right|top|bottom|iso       zoom in|out|extents|selected|reset
///     size WIDTH HEIGHT       frames N                screenshot FILE       save FILE
///     undo                    redo                    command LABEL
///
/// open takes scene documents and model files of every registered format. pick clicks at a
/// view position (pixels, origin top left) and band drags a rubber band, both through the
/// library's picker. set, expression and press act on the selected object (the view when nothing
/// is selected) and edit through the property panel's path; command chooses an item of the
/// selected object's popup menu by its label. A script stops at the first command that fails.
namespace ViewerScript
{
/// Finds a plain item by label through the menu and its sub-menus.
bool FindMenuItem(const std::vector<QelPopupMenu::SItem>& vItems, const std::string& strLabel, unsigned int& nCommand);

/// Splits a line into words; a double-quoted word may hold blanks and \" for a quote. False when
/// a quote is left open.
bool Split(const std::string& strLine, std::vector<std::string>& vWords);

/// Runs the commands of a text; strLabel names it in messages. False at the first failing command,
/// with "<error> Script LABEL line N: ..." in the log.
bool Run(ViewerSession& cSession, const std::string& strText, const std::string& strLabel);

/// Reads a script file and runs it.
bool RunFile(ViewerSession& cSession, const std::string& strPath);
} // namespace ViewerScript
