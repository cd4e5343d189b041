-- Wireshark's view of a recording of the MCU link, as mculink writes it: every field of every packet by its name.
--
--   tshark -X lua_script:melvane.lua -r FILE
--
-- Filters: melvane.cmd == 8 && melvane.main > 12      melvane.record == 5      melvane.damaged      melvane.ack_time > 0.01

-- The tables below are those of the service; a test compares them.
-- records: type, name, fields {name, byte, first bit, bits, unit, whether the change mark is above it}, fields of an
-- entry, entries a group
local records = {
    [0] = { "volume-and-fade", { { "ic", 3, 0, 8, 1 }, { "main", 4, 0, 7, 1, true }, { "max", 5, 0, 7, 1 }, { "navi", 6, 0, 7, 1, true }, { "call", 7, 0, 7, 1, true }, { "voice", 8, 0, 7, 1, true }, { "max_power", 9, 0, 8, 1 }, { "system_mute", 10, 0, 1, 1 }, { "source_mute", 10, 1, 1, 1 }, { "ff", 11, 0, 8, 1 }, { "fr", 12, 0, 8, 1 }, { "bl", 13, 0, 8, 1 }, { "br", 14, 0, 8, 1 }, { "subwoofer_gain", 15, 0, 8, 1 }, { "center_gain", 16, 0, 8, 1 }, { "loud", 17, 0, 8, 1 } } },
    [1] = { "eq", { { "reserved", 3, 0, 8, 1 }, { "type", 4, 0, 8, 1 } }, { { "gain", 0, 0, 8, 1 }, { "freq", 1, 0, 8, 1 }, { "q", 2, 0, 8, 1 } }, 5 },
    [2] = { "source-gain", { { "count", 3, 0, 8, 1 } }, { { "id", 0, 0, 8, 1 }, { "gain", 1, 0, 8, 1 } }, 1 },
    [3] = { "listen-pos", { { "listen_pos", 3, 0, 8, 1 }, { "srs", 4, 0, 8, 1 } } },
    [4] = { "audio-setting", { { "dbb", 3, 0, 1, 1 }, { "subwoofer", 3, 1, 1, 1 }, { "phase", 3, 2, 1, 180 }, { "filter", 3, 3, 3, 1 }, { "mode", 4, 0, 1, 1 }, { "channel", 4, 1, 3, 1 }, { "front", 5, 3, 1, 1 }, { "front_cutoff", 5, 0, 3, 1 }, { "rear", 5, 7, 1, 1 }, { "rear_cutoff", 5, 4, 3, 1 } } },
    [5] = { "alc", { { "alc", 3, 0, 8, 1 } } },
    [7] = { "extended-volumes", { { "ext0", 3, 0, 7, 1, true }, { "ext1", 4, 0, 7, 1, true }, { "ext2", 5, 0, 7, 1, true }, { "ext3", 6, 0, 7, 1, true } } },
}
-- commands: id, word, whether it holds a record, names of the bytes otherwise
local commands = {
    [8] = { "control", true, {} },
    [9] = { "query", false, { "group" } },
    [12] = { "key", false, { "key", "mute", "type" } },
    [50] = { "audio-mix", false, { "mix" } },
    [136] = { "acknowledgement", false, { "status" } },
    [137] = { "answer", true, {} },
    [138] = { "report", true, {} },
    [140] = { "key-acknowledgement", false, {} },
    [178] = { "audio-mix-report", false, { "mix" } },
}

local HEADER, DIRECTION, RECORD_TYPE = 28, 1, 2
local melvane = Proto("melvane", "Audio settings link")
local f = melvane.fields

f.direction = ProtoField.uint8("melvane.direction", "Direction", base.DEC, { [0] = "to the MCU", [1] = "from the MCU" })
f.size = ProtoField.int32("melvane.size", "Payload size")
local words = {}
for id, command in pairs(commands) do words[id] = command[1] end
f.cmd = ProtoField.int32("melvane.cmd", "Command", base.DEC, words)
f.reply = ProtoField.int32("melvane.reply", "Reply")
f.report = ProtoField.int32("melvane.report", "Report")
f.fixed = ProtoField.int32("melvane.fixed", "Fixed")
f.no = ProtoField.int32("melvane.no", "Packet number")
f.payload = ProtoField.bytes("melvane.payload", "Payload")
local names = {}
for type, record in pairs(records) do names[type] = record[1] end
f.record = ProtoField.uint8("melvane.record", "Record", base.DEC, names)
f.marked = ProtoField.string("melvane.marked", "Changed volume")
f.damaged = ProtoField.bool("melvane.damaged", "Damaged")
f.ack_in = ProtoField.framenum("melvane.ack_in", "Answered in", base.NONE, frametype.RESPONSE)
f.ack_to = ProtoField.framenum("melvane.ack_to", "Answer to", base.NONE, frametype.REQUEST)
f.ack_time = ProtoField.double("melvane.ack_time", "Time since the command (s)")
f.padding = ProtoField.bytes("melvane.padding", "Padding")

local values = {}
local function declare(name)
    if not values[name] then
        values[name] = ProtoField.uint8("melvane." .. name, name)
        f["value_" .. name] = values[name]
    end
end
for _, record in pairs(records) do
    for _, field in ipairs(record[2]) do declare(field[1]) end
    for _, field in ipairs(record[3] or {}) do declare(field[1]) end
end
for _, command in pairs(commands) do
    for _, name in ipairs(command[3] or {}) do declare(name) end
end

local expert = ProtoExpert.new("melvane.expert", "Damaged packet", expert.group.MALFORMED, expert.severity.ERROR)
melvane.experts = { expert }

-- What awaits an answer, by its key; and for each frame: the other frame of the exchange, and when that was.
local waiting, partner, request_time = {}, {}, {}
function melvane.init()
    waiting, partner, request_time = {}, {}, {}
end

local function add_field(tree, payload, first, field)
    local name, byte, bit, bits, unit, is_volume = table.unpack(field)
    local at = first + byte
    if at >= payload:len() then return nil end
    local content = payload(at, 1):uint()
    local value = math.floor(content / 2 ^ bit) % 2 ^ bits * unit
    tree:add(values[name], payload(at, 1), value)
    local is_marked = is_volume and content >= 128
    if is_marked then tree:add(f.marked, payload(at, 1), name) end
    return string.format(" %s=%d%s", name, value, is_marked and "*" or "")
end

-- Adds the fields of a record; returns them as text, and whether all were there.
local function add_record(tree, payload)
    if payload:len() <= RECORD_TYPE then return "", false end
    local type = payload(RECORD_TYPE, 1):uint()
    tree:add(f.record, payload(RECORD_TYPE, 1))
    local record = records[type]
    if not record then return " unknown-record", true end
    local text, is_whole, last = " " .. record[1], true, 0
    for _, field in ipairs(record[2]) do
        local added = add_field(tree, payload, 0, field)
        is_whole = is_whole and added ~= nil
        text = text .. (added or "")
        last = field[2] + 1
    end
    local entry, first = 0, last
    while record[3] and is_whole and first < payload:len() do
        local size = record[3][#record[3]][2] + 1
        local group = tree:add(melvane, payload(first, math.min(size, payload:len() - first)), record[4] > 1 and
            string.format("type_%d band %d", math.floor(entry / record[4]), entry % record[4] + 1) or "entry " .. entry)
        for _, field in ipairs(record[3]) do
            is_whole = add_field(group, payload, first, field) ~= nil and is_whole
        end
        entry, first = entry + 1, first + size
    end
    return text .. (entry > 0 and " entries=" .. entry or ""), is_whole
end

local function add_bytes(tree, payload, byte_names)
    local text = ""
    for i, name in ipairs(byte_names) do
        local added = add_field(tree, payload, 0, { name, i, 0, 8, 1 })
        if not added then return text, false end
        text = text .. added
    end
    return text, true
end

-- By what a command and its answer are found: their number, or the group of a query.
local function exchange_of(direction, cmd, number, payload)
    if cmd == 9 or cmd == 137 then
        local at = cmd == 9 and 1 or RECORD_TYPE
        return payload:len() > at and "group " .. payload(at, 1):uint() or nil
    end
    if number ~= 0 then return "number " .. number end
    return nil
end

local function link(tree, pinfo, direction, exchange)
    if not pinfo.visited and exchange then
        if direction == 0 then
            waiting[exchange] = { pinfo.number, pinfo.abs_ts }
        elseif waiting[exchange] then
            local number, time = table.unpack(waiting[exchange])
            partner[number], partner[pinfo.number], request_time[pinfo.number] = pinfo.number, number, time
            waiting[exchange] = nil
        end
    end
    local other = partner[pinfo.number]
    if other and direction == 0 then
        tree:add(f.ack_in, other):set_generated()
    elseif other then
        tree:add(f.ack_to, other):set_generated()
        tree:add(f.ack_time, math.floor((pinfo.abs_ts - request_time[pinfo.number]) * 1e6 + 0.5) / 1e6):set_generated()
    end
end

local function mark_damaged(tree, pinfo, text)
    tree:add(f.damaged, true):set_generated()
    tree:add_proto_expert_info(expert, text)
    pinfo.cols.info:append(" [damaged: " .. text .. "]")
end

function melvane.dissector(buffer, pinfo, root)
    pinfo.cols.protocol = "MELVANE"
    local tree = root:add(melvane, buffer())
    local direction = buffer(0, DIRECTION):uint()
    tree:add(f.direction, buffer(0, DIRECTION))
    pinfo.cols.src = direction == 0 and "service" or "MCU"
    pinfo.cols.dst = direction == 0 and "MCU" or "service"
    pinfo.cols.info = ""
    if buffer:len() < DIRECTION + HEADER then
        mark_damaged(tree, pinfo, "less than a header")
        return
    end
    local size, cmd = buffer(1, 4):le_int(), buffer(5, 4):le_int()
    for i, name in ipairs({ "size", "cmd", "reply", "report", "fixed", "fixed", "no" }) do
        tree:add_le(f[name], buffer(DIRECTION + 4 * (i - 1), 4))
    end
    local number = buffer(25, 4):le_int()
    local there = buffer:len() - DIRECTION - HEADER
    local length = math.max(0, math.min(size, there))
    local command = commands[cmd]
    local text, is_whole = "", true
    local exchange
    if length > 0 then
        local payload = buffer(DIRECTION + HEADER, length)
        local subtree = tree:add(f.payload, payload)
        payload = payload:tvb()
        if command and command[2] then
            text, is_whole = add_record(subtree, payload)
        elseif command then
            text, is_whole = add_bytes(subtree, payload, command[3])
        end
        exchange = exchange_of(direction, cmd, number, payload)
        if payload(0, 1):uint() ~= cmd then is_whole = false end
    end
    if there > length then tree:add(f.padding, buffer(DIRECTION + HEADER + length)) end
    pinfo.cols.info = (number ~= 0 and "#" .. number .. " " or "") .. (command and command[1] or "unknown") .. text
    link(tree, pinfo, direction, exchange)
    if size < 0 or size > there then
        mark_damaged(tree, pinfo, string.format("%d bytes announced, %d there", size, there))
    elseif not is_whole then
        mark_damaged(tree, pinfo, "cut, or another command in its payload")
    end
end

DissectorTable.get("wtap_encap"):add(wtap.USER0, melvane)
