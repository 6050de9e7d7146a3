"""The messages of a session in bytes, and runs of the program against a server that plays them."""

from ber import constructed, integer, string, wire
from peer import Peer, expects, sends
from tool import Run, run

LOGIN = ["-l", "anna", "-P", "secret"]
CLIENT_WANTS, OFFERS, ACK = wire("60( 02020203 A0( ) )"), wire("61( 02020203 A0( ) )"), wire("62( )")
NEW_SESSION = wire("70( '.' 'anna' 'Morvex Tool' 'secret' )")
NEW_SESSION_RESP = wire("71( 02021234 020100 'root' '' '' )")
OPENING = [expects(CLIENT_WANTS), sends(OFFERS), expects(ACK + NEW_SESSION), sends(NEW_SESSION_RESP)]
END_OF_STREAM = "Error reading: OsalSocket::read end of stream"
RESET = "Error reading from socket: Bad error happened without sleep in socket_recv(): Connection reset by peer (104)"


def converse(args, *script, **options):
    """Runs the program against a peer with this script."""
    with Peer(script) as peer:
        return run("-s", "127.0.0.1", "-p", str(peer.port), *args, **options)


def session(args, *script, **options):
    """The same, behind a log-in that succeeds."""
    return converse([*LOGIN, *args], *OPENING, *script, **options)


def caught(text, out=""):
    return Run(1, out, f"Caught error: {text}\n")


def misused(text):
    return Run(1, "", f"Error: {text}\n\nFor usage information, use:\n  morvex-tool -h\n\n")


def step(kind, flags, properties, terms="", below=""):
    """One step of a pattern, in the notation of wire()."""
    return f"30( '{kind}' 02010{flags} 0500 30( {below} ) 30( ) 30( {terms} ) 31( {properties} ) )"


def select(number, start, pattern):
    return wire(f"74( {integer(number).hex()} A0( 31( '{start}' ) {pattern} 020100 ) )")


def response(number, payload):
    return constructed(0x75, integer(number), payload)


def refusal(number, code, texts="'detail'"):
    return response(number, wire(f"A8( {integer(code).hex()} 30( {texts} ) )"))


def selected(number, *objects):
    return response(number, constructed(0xA0, constructed(0x30, *objects)))


def data(number, *intervals):
    return response(number, constructed(0xA6, integer(3), constructed(0x30, *intervals)))


def interval(kind, *fields):
    return constructed(0x30, constructed(kind, *fields))


def incident(time, severity, text):
    return interval(0xA1, integer(time), wire(severity), string(text))


def prop(name, word, value):
    """A property and its value, one of A0( ... ) to AC( ... ), in the notation of wire()."""
    return f"30( '{name}' {integer(word).hex()} {value} )"


def text(name, value):
    return prop(name, 6, f"A0( {string(value).hex()} )")


def made(kind, key, properties, *children, version="v1"):
    """An object with these properties, in the notation of wire()."""
    return constructed(0x30, string(kind), integer(5), string(key), string(version), wire(f"30( {properties} )"),
                       constructed(0x30, *children), wire("31( 020101 )"))


def thing(kind, key, name, *children, label=None):
    """An object with its siblingName, and its longLabel if one is given."""
    return made(kind, key, text("siblingName", name) + ("" if label is None else text("longLabel", label)), *children)


def called(number, properties="", *objects):
    return response(number, constructed(0xAA, wire(f"30( {properties} )"), constructed(0x30, *objects)))


def call(number, method, name=None):
    path = "" if name is None else "30( 'name' 02010B A1( 30( %s ) ) )" % " ".join(f"'{word}'" for word in name.split("."))
    return wire(f"74( {integer(number).hex()} A9( {integer(method).hex()} 30( {path} ) 30( ) ) )")


def value(number, name="value"):
    return prop(name, 16, f"AA( {integer(number).hex()} )")


# The look-ups of the path "." and of "-i 42", always the first request, with answers to them.
NAME, BOTH = "'siblingName'", "'siblingName' 'longLabel'"
LOOKUP_ROOT = select(0, "root", step("Domain", 0, NAME))
ID_42 = "30( 30( 'id' 020107 A0( '42' ) ) 0A00 )"
LOOKUP_42 = select(0, "root", step(".", 1, NAME, below=step(".", 0, NAME, ID_42)))
ROOT = selected(0, thing("Domain", "root", ""))
CHECK_42 = selected(0, thing("Domain", "root", "", thing("Node", "41", "box", thing("Check", "42", "ping"))))
NODE_42 = selected(0, thing("Domain", "root", "", thing("Node", "42", "box")))

# Second requests: the domains below the root, the data of object 42 from 100 to 1000, its newest entry.
LIST_DOMAINS = select(1, "root", step(".", 0, "", below=step("Domain", 0, BOTH)))
GET_DATA = wire("74( 020101 A6( '42' 'tsdbIndex' 010101 020164 020203E8 020100 020100 ) )")
GET_LAST = wire("74( 020101 A8( '42' 'tsdbIndex' ) )")
