#include "tests/support/relay/PhonePage.h"

namespace pelorin {

const char* const phonePage = R"html(<!doctype html>
<html lang="en">
<meta charset="utf-8">
<meta name="viewport" content="width=device-width">
<title>Pelorin test relay</title>
<style>
body { font: 16px system-ui, sans-serif; margin: 2em auto; max-width: 40em; padding: 0 1em; }
li { margin: 1em 0; }
pre { background: #222; color: #ddd; min-height: 4em; overflow: auto; padding: .5em; white-space: pre-wrap; }
button { font: inherit; margin-right: .5em; }
</style>
<h1>Waiting</h1>
<p id="state"></p>
<ul id="asks"></ul>
<h1>Terminal</h1>
<pre id="output"></pre>
<form id="line"><input id="input" size="50" autocomplete="off"> <button>Send</button>
<button type="button" id="fresh">New shell</button></form>
<script>
'use strict';
const token = new URLSearchParams(location.search).get('t') || '';
const id = sessionStorage.id || (sessionStorage.id = Math.random().toString(36).slice(2));
const call = (path, body) => fetch('/phone/' + path, {
    method: 'POST',
    headers: {'Authorization': 'Bearer ' + token, 'Content-Type': 'application/json'},
    body: JSON.stringify(body),
});
const button = (title, action) => {
    const element = document.createElement('button');
    element.textContent = title;
    element.onclick = action;
    return element;
};
let shown = '';
async function refresh() {
    const reply = await call('state', {id});
    if (!reply.ok) {
        document.getElementById('state').textContent =
            'This page needs the setup link that the test relay printed (/?t=TOKEN).';
        return;
    }
    const state = await reply.json();
    document.getElementById('state').textContent =
        'Connections of computers: ' + state.computers + ', waiting: ' + state.asks.length;
    const output = document.getElementById('output');
    if (output.textContent !== state.output) {
        output.textContent = state.output;
        output.scrollTop = output.scrollHeight;
    }
    const now = JSON.stringify(state.asks);
    if (now === shown)
        return;
    shown = now;
    document.getElementById('asks').replaceChildren(...state.asks.map(ask => {
        const row = document.createElement('li');
        row.append(ask.source + ' · ' + ask.project + ': ' + ask.message, document.createElement('br'));
        if (ask.isPermission) {
            for (const decision of ['allow', 'deny'])
                row.append(button(decision === 'allow' ? 'Allow' : 'Deny', () => call('decide', {id: ask.id, decision})));
        }
        return row;
    }));
}
document.getElementById('line').onsubmit = event => {
    event.preventDefault();
    const input = document.getElementById('input');
    call('terminal', {type: 'term-in', data: input.value + '\r'});
    input.value = '';
};
document.getElementById('fresh').onclick = () => call('terminal', {type: 'term-new'});
refresh();
setInterval(refresh, 500);
</script>
</html>
)html";

} // namespace pelorin
