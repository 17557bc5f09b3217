"""Winmail.dat, put together by hand ([MS-OXTNEF])."""
import struct

IID_IMESSAGE = bytes.fromhex('0703020000000000c000000000000046')
# "hello world" of [MS-OXRTFCP] 4.1.
RTF = bytes.fromhex('2d0000002b0000004c5a4675f1c5c7a703000a00726370673132354232'
                    '0af32068656c090020627705b06c647d0a800fa0')


def attribute(level, number, data):
    return struct.pack('<BII', level, number, len(data)) + data + struct.pack('<H', sum(data) & 0xFFFF)


def filled(data):
    return data + bytes(-len(data) % 4)


def sized(data):
    return struct.pack('<I', len(data)) + filled(data)


def wide(text):
    return (text + '\0').encode('utf-16le')


def variable(tag, data, name=b''):
    return struct.pack('<HH', tag & 0xFFFF, tag >> 16) + name + struct.pack('<I', 1) + sized(data)


def fixed(tag, data):
    return struct.pack('<HH', tag & 0xFFFF, tag >> 16) + filled(data)


def number(tag, value):
    return fixed(tag, struct.pack('<I', value))


def properties(*items):
    return struct.pack('<I', len(items)) + b''.join(items)


def winmail(*attributes, code_page=1252):
    page = attribute(1, 0x00069007, struct.pack('<II', code_page, 0))
    return struct.pack('<IH', 0x223E9F78, 1) + page + b''.join(attributes)


def message_properties(*items):
    return attribute(1, 0x00069003, properties(*items))


def attachment(title, data, *items):
    parts = [attribute(2, 0x00069002, struct.pack('<HIHHI', 1, 0xFFFFFFFF, 0, 0, 0)),
             attribute(2, 0x00018010, title + b'\0'), attribute(2, 0x0006800F, data)]
    return b''.join(parts + ([attribute(2, 0x00069005, properties(*items))] if items else []))


def embedded(title, stream):
    return (attribute(2, 0x00069002, struct.pack('<HIHHI', 1, 0xFFFFFFFF, 0, 0, 0)) +
            attribute(2, 0x00018010, title + b'\0') +
            attribute(2, 0x00069005, properties(number(0x37050003, 5),
                                                variable(0x3701000D, IID_IMESSAGE + stream))))
