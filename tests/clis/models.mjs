// Stands in for the model services of the CLIs, on the loopback interface. A prompt that holds
//
//     use [STEP, ...]      a STEP: [[TOOL, INPUT], ...]
//
// makes the model call the tools of one step in each of its turns, and say "Done." at last. "$PLAN" in an input stands
// for the file that Claude Code wants a plan in.
//
// usage: node models.mjs PORTFILE
import { renameSync, writeFileSync } from "node:fs";
import { createServer } from "node:http";

let count = 0;
const newId = prefix => `${prefix}_${++count}`;

/// The steps that a text asks for; undefined when it asks for none.
function stepsIn(text) {
    const start = text.lastIndexOf("use [");
    const end = text.lastIndexOf("]");
    if (start < 0 || end < start)
        return undefined;
    try {
        return JSON.parse(text.slice(start + 4, end + 1));
    } catch {
        return undefined;
    }
}

/// What the model does next. `turns` are {text} for the user's words and {isCall} for the model's own calls.
function nextCalls(turns) {
    let steps = [];
    let done = 0;
    for (const turn of turns) {
        const found = turn.text === undefined ? undefined : stepsIn(turn.text);
        if (found) {
            steps = found;
            done = 0;
        } else if (turn.isCall) {
            ++done;
        }
    }
    return steps[done];
}

const asList = content => (typeof content === "string" ? [{ type: "text", text: content }] : content ?? []);
const event = (name, data) => `event: ${name}\ndata: ${JSON.stringify(data)}\n\n`;
const streamed = "text/event-stream";

// Claude Code

function anthropic(body, raw) {
    const turns = body.messages.flatMap(message => asList(message.content).map(part => part.type === "tool_use"
        ? { isCall: true }
        : { text: message.role === "user" && part.type === "text" ? part.text : undefined }));
    const calls = (body.tools ?? []).length < 3 ? undefined : nextCalls(callsAsTurns(body.messages, turns));
    const plan = /(\/[^\s"\\]*?\/plans\/[^\s"\\]+?\.md)/.exec(raw)?.[1] ?? "plan.md";
    const blocks = calls
        ? calls.map(([name, input]) => ({
            type: "tool_use", id: newId("toolu"), name,
            input: JSON.parse(JSON.stringify(input).replaceAll("$PLAN", plan)),
        }))
        : [{ type: "text", text: "Done." }];
    const message = {
        id: newId("msg"), type: "message", role: "assistant", model: body.model, content: blocks,
        stop_reason: calls ? "tool_use" : "end_turn", stop_sequence: null,
        usage: { input_tokens: 100, output_tokens: 20, cache_creation_input_tokens: 0, cache_read_input_tokens: 0 },
    };
    if (!body.stream)
        return ["application/json", JSON.stringify(message)];
    let text = event("message_start", {
        type: "message_start", message: { ...message, content: [], stop_reason: null },
    });
    blocks.forEach((block, index) => {
        const isText = block.type === "text";
        text += event("content_block_start", {
            type: "content_block_start", index,
            content_block: isText ? { type: "text", text: "" } : { ...block, input: {} },
        });
        text += event("content_block_delta", {
            type: "content_block_delta", index,
            delta: isText ? { type: "text_delta", text: block.text }
                : { type: "input_json_delta", partial_json: JSON.stringify(block.input) },
        });
        text += event("content_block_stop", { type: "content_block_stop", index });
    });
    text += event("message_delta", {
        type: "message_delta", delta: { stop_reason: message.stop_reason, stop_sequence: null }, usage: message.usage,
    });
    return [streamed, text + event("message_stop", { type: "message_stop" })];
}

/// Calls that were made in one turn count once.
function callsAsTurns(messages, turns) {
    let at = 0;
    return messages.flatMap(message => {
        const parts = turns.slice(at, at += asList(message.content).length);
        const calls = parts.filter(part => part.isCall);
        return [...parts.filter(part => !part.isCall), ...calls.slice(0, 1)];
    });
}

// Codex

function responses(body) {
    const turns = (body.input ?? []).map(item => item.type === "message" && item.role === "user"
        ? { text: asList(item.content).map(part => part.text ?? "").join(" ") }
        : { isCall: item.type === "function_call" });
    const calls = (body.tools ?? []).length ? nextCalls(turns) : undefined;
    const output = calls
        ? calls.map(([name, input]) => ({
            type: "function_call", id: newId("fc"), call_id: newId("call"), name, arguments: JSON.stringify(input),
        }))
        : [{ type: "message", role: "assistant", id: newId("msg"), content: [{ type: "output_text", text: "Done." }] }];
    const id = newId("resp");
    let text = event("response.created", { type: "response.created", response: { id } });
    output.forEach((item, index) => {
        for (const type of ["response.output_item.added", "response.output_item.done"])
            text += event(type, { type, output_index: index, item });
    });
    const usage = {
        input_tokens: 10, input_tokens_details: { cached_tokens: 0 },
        output_tokens: 5, output_tokens_details: { reasoning_tokens: 0 }, total_tokens: 15,
    };
    text += event("response.completed", { type: "response.completed", response: { id, output, usage } });
    return [streamed, text];
}

// Gemini

function gemini(body, raw, path) {
    if (path.includes(":countTokens"))
        return ["application/json", '{"totalTokens":10}'];
    const turns = (body.contents ?? []).map(content => ({
        text: content.role === "user" ? content.parts.map(part => part.text ?? "").join(" ") : undefined,
        isCall: content.parts.some(part => part.functionCall),
    }));
    const hasTools = (body.tools ?? []).some(tool => tool.functionDeclarations?.length);
    const calls = hasTools ? nextCalls(turns) : undefined;
    const wantsJson = body.generationConfig?.responseSchema ?? body.generationConfig?.responseJsonSchema;
    const aside = JSON.stringify({
        complexity_reasoning: "", complexity_score: 10, reasoning: "", next_speaker: "user", model_choice: "flash",
    });
    const parts = calls ? calls.map(([name, args]) => ({ functionCall: { name, args } }))
        : [{ text: wantsJson ? aside : "Done." }];
    const reply = JSON.stringify({
        candidates: [{ content: { role: "model", parts }, finishReason: "STOP", index: 0 }],
        usageMetadata: { promptTokenCount: 5, candidatesTokenCount: 3, totalTokenCount: 8 }, modelVersion: "test",
    });
    return path.includes("stream") ? [streamed, `data: ${reply}\r\n\r\n`] : ["application/json", reply];
}

// opencode

function chat(body) {
    const turns = body.messages.map(message => ({
        text: message.role === "user" ? asList(message.content).map(part => part.text ?? "").join(" ") : undefined,
        isCall: Boolean(message.tool_calls?.length),
    }));
    const calls = (body.tools ?? []).length ? nextCalls(turns) : undefined;
    const base = { id: newId("chat"), object: "chat.completion.chunk", created: 1, model: body.model };
    const delta = calls
        ? {
            role: "assistant", content: null,
            tool_calls: calls.map(([name, input], index) => ({
                index, id: newId("call"), type: "function", function: { name, arguments: JSON.stringify(input) },
            })),
        }
        : { role: "assistant", content: "Done." };
    const last = { ...base, choices: [{ index: 0, delta: {}, finish_reason: calls ? "tool_calls" : "stop" }] };
    const chunks = [{ ...base, choices: [{ index: 0, delta, finish_reason: null }] },
        { ...last, usage: { prompt_tokens: 5, completion_tokens: 3, total_tokens: 8 } }];
    return [streamed, chunks.map(chunk => `data: ${JSON.stringify(chunk)}\n\n`).join("") + "data: [DONE]\n\n"];
}

const services = [["/v1/messages/count_tokens", () => ["application/json", '{"input_tokens":100}']],
    ["/v1/messages", anthropic], ["/v1/responses", responses], ["/v1/chat/completions", chat], ["/v1beta/", gemini]];

const server = createServer((request, response) => {
    const chunks = [];
    request.on("data", chunk => chunks.push(chunk));
    request.on("end", () => {
        const raw = Buffer.concat(chunks).toString();
        const service = services.find(([prefix]) => request.url.startsWith(prefix))?.[1];
        if (request.method !== "POST" || !service) {
            response.writeHead(request.method === "POST" ? 404 : 200, { "content-type": "application/json" });
            response.end('{"object":"list","data":[],"models":[]}');
            return;
        }
        const [type, text] = service(JSON.parse(raw || "{}"), raw, request.url);
        response.writeHead(200, { "content-type": type });
        response.end(text);
    });
});
server.listen(0, "127.0.0.1", () => {
    writeFileSync(`${process.argv[2]}.new`, String(server.address().port));
    renameSync(`${process.argv[2]}.new`, process.argv[2]);
});
