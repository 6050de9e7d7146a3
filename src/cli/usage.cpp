#include "cli/usage.h"

#include <cstdlib>
#include <string>

#include "platform/output.h"

namespace morvex {

namespace {

// Some lines end in blanks. They are part of the text.
constexpr std::string_view kHelp = R"help(
Morvex database utility

Usage:

  morvex-tool  [-h]
or
  morvex-tool  [-s server] [-p port] [-d domain] <-l login> [-P password]
               [-f filename] <command> [command-options] <path | -i ID>

Parameters:

  -h           : Display this help text.
  -s server    : The hostname of the Morvex Server. Default is "localhost".
  -p port      : The port of the Morvex Server. Default is 3241.
  -d domain    : The login domain. Default is .
  -l login     : The login to use for accessing the Morvex Server 
  -P password  : The password for the login. If this is not specified, the
                 program will ask for the password when run.
  -f filename  : The filename to import from or export to. If this is not 
                 specified standard in/out will be used.

  <command> is one of 'select', 'insert', 'listdomains', 'listnodes',
  'listchecks', 'listproperties' or 'update'. The commands are described
  in detail below.

  <path> is a string identifying either a domain, a node or a check. If the
  path identifies a domain, the path only consists of one item. This is a '.'
  seperated list of the domain names, leading to the domain. So a path to the
  'Routers' domain located in the 'Backbone' domain would be
  'Backbone.Routers'.
  If the path identifies a node, it will consist of two parts seperated by a
  ','. The first part will identify the domain, in which the node is located,
  in the same way as specifying a path to a domain. The second part is the
  node's name (not label) in Morvex. I.e. a path to a node 'mainrouter' in the
  'Routers' subdomain would be 'Backbone.Routers,mainrouter'.
  A third part is added when the path identifies a check. This part identifies
  the check for the Morvex Server. However constructing this part by hand is
  not easy, so the listchecks command should be used in order to obtain this
  part of the path.

  <ID> is the ID of the object to inspect. You can retrieve the ID's through
  the list commands. 

The 'select' command:

  The select command is used to retrieve the results from a check or the
  incident log from a node, and export them as a CSV file.

  Syntax:

    select [-t format | -u] [-b starttime] [-e endtime]

    -t format    : The format of the timestamps in the exported CSV file. See 
                   the Administrators guide for an explanation of how to
                   specify the format.
    -u           : Outputs timestamps as the number of seconds since 1970-01-01
                   00:00 GMT. Otherwise timestamps are printed in the format
                   'YYYY-MM-DD hh:mm:ss'.
    -b starttime : Defines the earliest point in time from which to extract
                   data.
    -e endtime   : The last point in time for which data should be extracted.
    -n num       : Extract the first num entries only. This option cannot be
                   used in conjuction with the -m option.
    -m num       : Extract the last num entries only. This option cannot be
                   used in conjuction with the -n optionn
                   Note: if only the latest result should be output, then set
                         -m 1 and no start and endtime.
     starttime and endtime can be specified either as seconds since 1970-01-01
     00:00 GMT, or in the ISO time format 'YYYY-MM-DD-Thh:mm:ss'.
     The 25th of March 2003, 25 minutes and 3 seconds past midnight will be
     written as '2003-03-25-T00:25:03'.

The 'insert' command:

  The insert command can read a CSV formatted file, and import the data from 
  it into the Morvex database.

  The command takes no options apart from a path specification. The timeformat
  is expected to be either the default exporting format or the format used
  when -u is specified to select. The command will autodetect which is used.

The 'listdomains' command:

  The listdomains command lists all the subdomains of a domain identified
  either by an ID or by a path. The data returned will be one line pr. domain,
  and when more than one field is returned pr. domain, these fields will be
  seperated by tabular.

  Syntax:

    listdomains [-o N|i|p|d] [-r]

    -o N|i|p|d  : Defines which data should be listed. n makes the command
                  return the names of the domains as they are displayed in
                  the Web Interface. i will return the ID's of the domains,
                  for use with the -i switch, and p will return a string usable
                  in a path expression. d will return the domain part of the
                  path i.e. the same as p. The order of these options will
                  determine the order in which they are displayed. If no -o
                  switch is given, the default is to function as if -o Nip
                  was given.
    -r          : Recursively display all subdomains. If this switch is not
                  given, only domains that are located directly under the
                  selected domain will be displayed.

The 'listnodes' command:

  The listnodes command lists all the nodes of a domain identified either by
  an ID or by a path. Output is in the same format as listdomains.

  Syntax:

    listnodes [-o N|i|p|d|n] [-r]

    -o N|i|p|d|n : This option functions as the -o option to the listdomains
                   command. The extra n option will result in the node part of
                   the path to the node is printed. The default is -o Nip.
    -r           : Also display all nodes in subdomains to the selected domain.

The 'listchecks' command:

  The listchecks command lists all the active checks on a node or domain
  identified either by an ID, or by a path. Output is the same format as
  listdomains uses. If the command is run on a domain, all active checks
  on nodes directly under the selected domain will be displayed. If a node
  is used, all the checks are displayed.

  Syntax:

    listchecks [-o N|i|p|d|n|c] [-r]

    -o N|i|p|d|n|c : The same as the -o option for the listdomains command.
                     The c option will print only the check part of the path.
    -r             : If the command is run on a domain, it will list all active
                     checks on nodes in all subdomains. If used on a node, the
                     option will have no effect.

The 'listproperties' command:

  The listproperties command can be used to list the properties and their
  values of a specific domain, node or check.

  Syntax:

    listproperties [-a] [-t] <path-specification> [property1] ... [propertyX]

    -a             : list all properties of this node/domain/check object.
    -t             : Print the type of the different properties.

     The properties id, class, version and siblingName is always listed.

     If the -a option is not provided a only the 4 properties mentioned above
     will be returned. If only a few specific properties are wanted, these can
     be listed, after the path
     specification.

The 'update' command:

  The update command allows you to update specific properties for a domain,
  node or check.

  Syntax:

    update <path-specification> <property1>=<value1> [property2=value2] ...
             [propertyX=valueX]

     After the update command, each property that needs update should be
     listed. There should be no spaces in a property<->value pair, until after
     the first equal sign. Remember to quote the property<->value pair, if the
     value contains spaces.

When viewing this help-text on a small screen, use:

  morvex-tool | more
)help";

}  // namespace

void usageError(std::string_view message) {
  std::string text = "Error: ";
  text += message;
  text += "\n\nFor usage information, use:\n  morvex-tool -h\n\n";
  printError(text);
  std::exit(EXIT_FAILURE);
}

void printUsage() {
  Output& output = standardOutput();
  output.write(kHelp);
  output.endLine();
  output.flush();
}

}  // namespace morvex
