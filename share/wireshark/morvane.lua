-- Service calls of a Morvane ASIC, as `mrvctl calls --pcap` writes them.
--
-- Copy this file to the directory of personal Lua plugins (Help, About, Folders), or load it once:
--     tshark -X lua_script:morvane.lua -r calls.pcapng -Y 'morvane.failed == 1'
-- It registers the link type USER0. All numbers are little-endian.

local morvane = Proto("morvane", "Morvane service call")

local kinds = { [1] = "request", [2] = "answer" }
local records = { [0] = "none", [1] = "register", [2] = "timer", [3] = "transaction", [4] = "qos" }
local cases = {
  [0x40000000] = "SYSSRV_REG_READ_CASE",
  [0x40000001] = "SYSSRV_REG_WRITE_CASE",
  [0x40000002] = "SYSSRV_MEM_READ_CASE",
  [0x40000003] = "SYSSRV_MEM_WRITE_CASE",
  [0x40000056] = "SYSSRV_SP_TIME_CONFIGURE",
}
local types = {
  [0] = "TYPE_READ", [1] = "TYPE_WRITE", [2] = "TYPE_WRITE_FIELD", [3] = "TYPE_READ_DHS",
  [4] = "TYPE_WRITE_DHS",
}
local port_types = { [0] = "cif", [1] = "bif", [2] = "nif", [3] = "hif" }

local f = {
  kind = ProtoField.uint8("morvane.kind", "Packet", base.DEC, kinds),
  record = ProtoField.uint8("morvane.record", "Record", base.DEC, records),
  failed = ProtoField.bool("morvane.failed", "Failed"),
  lost = ProtoField.bool("morvane.lost", "Writes lost"),
  cut = ProtoField.bool("morvane.cut", "Words left out"),
  process = ProtoField.uint32("morvane.process", "Recording"),
  pid = ProtoField.uint32("morvane.pid", "Process"),
  program = ProtoField.string("morvane.program", "Program"),
  op = ProtoField.string("morvane.op", "Operation"),
  outcome = ProtoField.string("morvane.outcome", "Outcome"),
  case = ProtoField.uint32("morvane.case", "Case", base.HEX, cases),
  driver = ProtoField.uint32("morvane.driver", "Driver"),
  length = ProtoField.uint32("morvane.length", "Length of the record"),
  number = ProtoField.uint64("morvane.number", "Call of the process"),
  duration = ProtoField.uint64("morvane.duration", "Duration in nanoseconds"),
  result = ProtoField.int32("morvane.result", "Result"),
  errno = ProtoField.int32("morvane.errno", "errno"),
  answer_in = ProtoField.framenum("morvane.answer_in", "Answer in", base.NONE, frametype.RESPONSE),
  answer_to = ProtoField.framenum("morvane.answer_to", "Answer to", base.NONE, frametype.REQUEST),
  type = ProtoField.uint32("morvane.type", "Type", base.DEC, types),
  module = ProtoField.int32("morvane.module", "Module"),
  asic = ProtoField.uint32("morvane.asic", "ASIC, or port word of a command"),
  addr = ProtoField.uint32("morvane.addr", "Address", base.HEX),
  reg = ProtoField.string("morvane.reg", "Register"),
  data = ProtoField.uint32("morvane.data", "Data", base.HEX),
  mask = ProtoField.uint32("morvane.mask", "Mask", base.HEX),
  num = ProtoField.uint32("morvane.num", "Number of words"),
  word = ProtoField.uint32("morvane.word", "Word", base.HEX),
  context = ProtoField.uint32("morvane.context", "Context"),
  line = ProtoField.uint32("morvane.line", "Line"),
  func = ProtoField.string("morvane.func", "Function"),
  file = ProtoField.string("morvane.file", "File"),
  time = ProtoField.uint32("morvane.time", "SP timer"),
  name = ProtoField.string("morvane.transaction", "Transaction"),
  reorder = ProtoField.int32("morvane.reorder", "Reorder"),
  entries = ProtoField.int32("morvane.entries", "Number of entries"),
  entry = ProtoField.none("morvane.entry", "Entry"),
  port_type = ProtoField.uint32("morvane.port_type", "Port type", base.DEC, port_types),
  port = ProtoField.uint32("morvane.port", "Port"),
  opts = ProtoField.uint32("morvane.opts", "Options", base.HEX),
}

-- The statistics of a port: offset in the record, number of values, name of the field. The first is
-- 2 bytes wide, the two states are 1, the others 8.
local stats = {
  { 16, 1, "pause.flow_ctrl", 2 }, { 20, 1, "pause.rx_xoff_cnt" }, { 28, 1, "pause.rx_xon_cnt" },
  { 36, 1, "pause.tx_xoff_cnt" }, { 44, 1, "pause.tx_xon_cnt" },
  { 52, 8, "pause.tx_pfc_xoff_cnt" }, { 116, 8, "pause.rx_pfc_xoff_cnt" },
  { 180, 1, "pause.tx_pfc_cnt" }, { 188, 1, "pause.rx_pfc_cnt" },
  { 196, 1, "pause.rx_xoff_status", 1 }, { 197, 1, "pause.tx_xoff_status", 1 },
  { 200, 8, "ss_dhs.wr_rcvd_cnt" }, { 264, 1, "ss_dhs.wr_discard_cnt" },
  { 272, 1, "ss_dhs.wr_discard_mcast_cnt" }, { 280, 1, "ss_dhs.wr_rcvd_err_cnt" },
  { 288, 8, "ss_dhs.rd_sent_cnt" }, { 352, 1, "oq.flush_cnt" }, { 360, 1, "oq.tout_cnt" },
  { 368, 48, "drops.n2h_drops" }, { 752, 48, "drops.h2n_drops" },
}

local all_fields = {}
for _, field in pairs(f) do all_fields[#all_fields + 1] = field end
for _, stat in ipairs(stats) do
  stat.field = ProtoField.uint64("morvane.stats." .. stat[3], stat[3])
  all_fields[#all_fields + 1] = stat.field
end
morvane.fields = all_fields

local failed_call = ProtoExpert.new("morvane.failed_call", "The call failed",
  expert.group.RESPONSE_CODE, expert.severity.ERROR)
local malformed = ProtoExpert.new("morvane.malformed", "No call of this version",
  expert.group.MALFORMED, expert.severity.ERROR)
morvane.experts = { failed_call, malformed }

-- By recording and number of the call: the frames of its request and of its answer, and the target of
-- the request, which the answer of a failed call does not contain.
local requests, answers, targets = {}, {}, {}

function morvane.init()
  requests, answers, targets = {}, {}, {}
  if gui_enabled() then set_color_filter_slot(1, "morvane.failed == 1") end
end

-- The texts between preamble and record, as ranges.
local function split_texts(range)
  local texts, begin = {}, 0
  for i = 0, range:len() - 1 do
    if range(i, 1):uint() == 0 then
      texts[#texts + 1] = { range = range(begin, i - begin + 1), text = range(begin, i - begin + 1):stringz() }
      begin = i + 1
    end
  end
  return texts
end

local function add_text(tree, field, text)
  if text then tree:add(field, text.range, text.text) end
end

local function add_words(tree, words)
  for at = 0, words:len() - 4, 4 do tree:add_le(f.word, words(at, 4)) end
end

-- A read has its words in the answer, a write in the request; reg is the text with the register's name.
local function add_register(tree, record, answer, reg)
  local type = record(0, 4):le_uint()
  local run = type == 3 or type == 4
  local reads = type == 0 or type == 3
  tree:add_le(f.type, record(0, 4))
  tree:add_le(f.module, record(4, 4))
  tree:add_le(f.asic, record(8, 4))
  tree:add_le(f.addr, record(12, 4))
  if reg and reg.text ~= "" then add_text(tree, f.reg, reg) end
  if run then
    tree:add_le(f.num, record(24, 4))
    if record:len() > 196 and reads == answer then add_words(tree, record(196)) end
  else
    if reads == answer then tree:add_le(f.data, record(16, 4)) end
    tree:add_le(f.mask, record(20, 4))
  end
  tree:add_le(f.context, record(28, 4))
  tree:add(f.func, record(36, 32))
  tree:add(f.file, record(68, 128))
  tree:add_le(f.line, record(32, 4))
end

local function add_timer(tree, record)
  tree:add_le(f.module, record(4, 4))
  tree:add_le(f.asic, record(8, 4))
  tree:add_le(f.time, record(16, 4))
end

-- A number that is a text.
local function add_decimal(tree, field, text)
  if text and text.text ~= "" then tree:add(field, text.range, tonumber(text.text)) end
end

-- Each entry has the text of its register, and then those of its caller: none or four.
local function add_transaction(tree, record, texts, caller_texts)
  tree:add(f.name, record(0, 32))
  tree:add_le(f.reorder, record(32, 4))
  tree:add_le(f.entries, record(36, 4))
  local there = math.min(math.max(record(36, 4):le_int(), 0), math.floor((record:len() - 40) / 20))
  for i = 0, there - 1 do
    local entry = record(40 + 20 * i, 20)
    local below = tree:add(f.entry, entry)
    below:append_text(" " .. i)
    below:add_le(f.module, entry(0, 4))
    below:add_le(f.asic, entry(4, 4))
    below:add_le(f.addr, entry(8, 4))
    local at = 4 + i * (1 + caller_texts)
    local reg = texts[at]
    if reg and reg.text ~= "" then
      add_text(below, f.reg, reg)
      below:append_text(": " .. reg.text)
    end
    below:add_le(f.data, entry(12, 4))
    below:add_le(f.mask, entry(16, 4))
    if caller_texts == 4 and texts[at + 3] and texts[at + 3].text ~= "" then
      add_text(below, f.func, texts[at + 1])
      add_text(below, f.file, texts[at + 2])
      add_decimal(below, f.line, texts[at + 3])
      add_decimal(below, f.context, texts[at + 4])
      below:append_text(" by " .. texts[at + 1].text .. " " .. texts[at + 2].text .. ":" .. texts[at + 3].text)
    end
  end
end

local function add_qos(tree, record, answer)
  tree:add_le(f.module, record(4, 1))
  tree:add_le(f.asic, record(5, 1))
  tree:add_le(f.port_type, record(8, 4))
  tree:add_le(f.port, record(12, 1))
  tree:add_le(f.opts, record(1136, 4))
  if not answer or record(0, 4):le_uint() ~= 0 then return end
  for _, stat in ipairs(stats) do
    local width = stat[4] or 8
    for i = 0, stat[2] - 1 do
      local range = record(stat[1] + 8 * i, width)
      tree:add(stat.field, range, range:le_uint64())
    end
  end
end

-- The shortest record of each kind.
local shortest = { [1] = 196, [2] = 196, [3] = 40, [4] = 1140 }

local function add_record(tree, kind, record, answer, texts, caller_texts)
  local below = tree:add(morvane, record, "Record")
  if kind == 1 then add_register(below, record, answer, texts[4])
  elseif kind == 2 then add_timer(below, record)
  elseif kind == 3 then add_transaction(below, record, texts, caller_texts)
  else add_qos(below, record, answer) end
end

local function link(tree, pinfo, key, answer)
  local own, other = answer and answers or requests, answer and requests or answers
  own[key] = pinfo.number
  if not other[key] then return end
  tree:add(answer and f.answer_to or f.answer_in, other[key]):set_generated()
end

-- The target of a request: its register, or the address if that has no name, its transaction, or its
-- port.
local function target_text(kind, record, texts)
  if kind == 4 and record then
    if record(0, 4):le_uint() == 2 then return " all ports" end
    local port_type = record(8, 4):le_uint()
    return string.format(" %s:%u", port_types[port_type] or port_type, record(12, 1):uint())
  end
  if kind == 3 and record then return ' "' .. record(0, 32):stringz() .. '"' end
  if texts[4] and texts[4].text ~= "" then return " " .. texts[4].text end
  return kind == 1 and record and string.format(" 0x%08x", record(12, 4):le_uint()) or ""
end

function morvane.dissector(tvb, pinfo, root)
  pinfo.cols.protocol = "Morvane"
  local tree = root:add(morvane, tvb())
  if tvb:len() < 64 or tvb(0, 4):string() ~= "MRVC" or tvb(4, 2):le_uint() ~= 1
      or tvb(6, 2):le_uint() < 64 or tvb(56, 4):le_uint() > tvb:len() - tvb(6, 2):le_uint() then
    tree:add_proto_expert_info(malformed)
    return tvb:len()
  end
  local preamble, texts_size = tvb(6, 2):le_uint(), tvb(56, 4):le_uint()
  local kind, flags = tvb(9, 1):uint(), tvb(10, 1):uint()
  local answer = tvb(8, 1):uint() == 2
  local texts = texts_size > 0 and split_texts(tvb(preamble, texts_size)) or {}
  local failed = math.floor(flags / 8) % 2 == 1

  tree:add_le(f.kind, tvb(8, 1))
  tree:add_le(f.record, tvb(9, 1))
  tree:add(f.failed, tvb(10, 1), failed)
  if kind == 3 then tree:add(f.lost, tvb(10, 1), math.floor(flags / 16) % 2 == 1) end
  tree:add(f.cut, tvb(10, 1), math.floor(flags / (answer and 4 or 2)) % 2 == 1)
  tree:add_le(f.process, tvb(12, 4))
  tree:add_le(f.pid, tvb(16, 4))
  add_text(tree, f.program, texts[1])
  add_text(tree, f.op, texts[2])
  tree:add_le(f.case, tvb(20, 4))
  tree:add_le(f.driver, tvb(24, 4))
  tree:add_le(f.length, tvb(28, 4))
  tree:add_le(f.number, tvb(32, 8))
  if answer then
    tree:add_le(f.duration, tvb(40, 8))
    tree:add_le(f.result, tvb(48, 4))
    if tvb(48, 4):le_int() < 0 then tree:add_le(f.errno, tvb(52, 4)) end
    add_text(tree, f.outcome, texts[3])
    if failed then tree:add_proto_expert_info(failed_call) end
  end
  local call = tvb(12, 4):le_uint() .. "/" .. tostring(tvb(32, 8):le_uint64())
  link(tree, pinfo, call, answer)

  local body = preamble + texts_size
  local record = shortest[kind] and tvb:len() - body >= shortest[kind] and tvb(body)
  if not answer then targets[call] = target_text(kind, record, texts) end
  pinfo.cols.src = texts[1] and (texts[1].text .. "." .. tvb(16, 4):le_uint()) or ""
  pinfo.cols.info = (answer and "answer: " or "") .. (texts[2] and texts[2].text or "call")
      .. (targets[call] or "") .. (answer and texts[3] and (" " .. texts[3].text) or "")
  if record then add_record(tree, kind, record, answer, texts, tvb(11, 1):uint()) end
  return tvb:len()
end

DissectorTable.get("wtap_encap"):add(wtap.USER0, morvane)
