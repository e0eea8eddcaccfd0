var Tr=Object.defineProperty;var Cr=Object.getOwnPropertyDescriptor;var c=(s,r,e,t)=>{for(var i=t>1?void 0:t?Cr(r,e):r,o=s.length-1,n;o>=0;o--)(n=s[o])&&(i=(t?n(r,e,i):n(i))||i);return t&&i&&Tr(r,e,i),i};var Le=/^(machines\/[^/]+)?\/?(channels\/\d+)?$/.exec(new URLSearchParams(location.search).get("at")??"")?.[0]??"",ke=Le.split("/").filter(s=>s!=="machines").join(" ").replace(/^channels /,"Channel ").replace(/ channels /,", channel "),wt=`api/v1/${Le&&Le+"/"}`,yt="xp-token";function Ot(){let s=/[#&?]token=([^&]+)/.exec(location.hash+location.search);if(!s)return;sessionStorage.setItem(yt,decodeURIComponent(s[1]));let r=location.search.replace(/[?&]token=[^&]*/,"").replace(/^&/,"?");history.replaceState(null,"",location.pathname+r+(location.hash.includes("token=")?"":location.hash))}var K=()=>sessionStorage.getItem(yt)??"",ze=s=>sessionStorage.setItem(yt,s),_=class{constructor(r,e,t,i=""){this.status=r;this.code=e;this.sentence=t;this.hint=i}};function Qe(s){let r=new URL(wt+s,document.baseURI);return r.protocol=r.protocol==="https:"?"wss:":"ws:",r.href}var Ut=s=>new URL(wt+s,document.baseURI).href;async function I(s,r,e,t={}){let i={...t};K()&&(i.Authorization=`Bearer ${K()}`),e!==void 0&&(i["Content-Type"]="application/json");try{let o=await fetch(wt+r,{method:s,headers:i,body:e===void 0?void 0:JSON.stringify(e),cache:"no-store"});return o.ok?o:await Rr(o)}catch{return new _(0,"unreachable","The panel does not answer.","It is asked again as soon as the link is back.")}}async function N(s){let r=await I("GET",s);if(r instanceof _)return r;try{return await r.json()}catch{return new _(r.status,"unreadable","The panel's answer cannot be read.")}}async function Rr(s){try{let r=await s.json(),e=t=>typeof r[t]=="string"?r[t]:"";return new _(s.status,e("code")||String(s.status),e("detail")||e("title"),e("hint"))}catch{return new _(s.status,String(s.status),`The panel answers ${s.status}.`)}}Ot();document.documentElement.dataset.theme=localStorage.getItem("xp-theme")??"dark";var Ze=globalThis,Xe=Ze.ShadowRoot&&(Ze.ShadyCSS===void 0||Ze.ShadyCSS.nativeShadow)&&"adoptedStyleSheets"in Document.prototype&&"replace"in CSSStyleSheet.prototype,$t=Symbol(),Ht=new WeakMap,Oe=class{constructor(r,e,t){if(this._$cssResult$=!0,t!==$t)throw Error("CSSResult is not constructable. Use `unsafeCSS` or `css` instead.");this.cssText=r,this.t=e}get styleSheet(){let r=this.o,e=this.t;if(Xe&&r===void 0){let t=e!==void 0&&e.length===1;t&&(r=Ht.get(e)),r===void 0&&((this.o=r=new CSSStyleSheet).replaceSync(this.cssText),t&&Ht.set(e,r))}return r}toString(){return this.cssText}},Dt=s=>new Oe(typeof s=="string"?s:s+"",void 0,$t),f=(s,...r)=>{let e=s.length===1?s[0]:r.reduce((t,i,o)=>t+(n=>{if(n._$cssResult$===!0)return n.cssText;if(typeof n=="number")return n;throw Error("Value passed to 'css' function must be a 'css' function result: "+n+". Use 'unsafeCSS' to pass non-literal values, but take care to ensure page security.")})(i)+s[o+1],s[0]);return new Oe(e,s,$t)},It=(s,r)=>{if(Xe)s.adoptedStyleSheets=r.map(e=>e instanceof CSSStyleSheet?e:e.styleSheet);else for(let e of r){let t=document.createElement("style"),i=Ze.litNonce;i!==void 0&&t.setAttribute("nonce",i),t.textContent=e.cssText,s.appendChild(t)}},kt=Xe?s=>s:s=>s instanceof CSSStyleSheet?(r=>{let e="";for(let t of r.cssRules)e+=t.cssText;return Dt(e)})(s):s;var{is:Lr,defineProperty:zr,getOwnPropertyDescriptor:Or,getOwnPropertyNames:Ur,getOwnPropertySymbols:Hr,getPrototypeOf:Dr}=Object,et=globalThis,Nt=et.trustedTypes,Ir=Nt?Nt.emptyScript:"",Nr=et.reactiveElementPolyfillSupport,Ue=(s,r)=>s,He={toAttribute(s,r){switch(r){case Boolean:s=s?Ir:null;break;case Object:case Array:s=s==null?s:JSON.stringify(s)}return s},fromAttribute(s,r){let e=s;switch(r){case Boolean:e=s!==null;break;case Number:e=s===null?null:Number(s);break;case Object:case Array:try{e=JSON.parse(s)}catch{e=null}}return e}},tt=(s,r)=>!Lr(s,r),qt={attribute:!0,type:String,converter:He,reflect:!1,useDefault:!1,hasChanged:tt};Symbol.metadata??=Symbol("metadata"),et.litPropertyMetadata??=new WeakMap;var Y=class extends HTMLElement{static addInitializer(r){this._$Ei(),(this.l??=[]).push(r)}static get observedAttributes(){return this.finalize(),this._$Eh&&[...this._$Eh.keys()]}static createProperty(r,e=qt){if(e.state&&(e.attribute=!1),this._$Ei(),this.prototype.hasOwnProperty(r)&&((e=Object.create(e)).wrapped=!0),this.elementProperties.set(r,e),!e.noAccessor){let t=Symbol(),i=this.getPropertyDescriptor(r,t,e);i!==void 0&&zr(this.prototype,r,i)}}static getPropertyDescriptor(r,e,t){let{get:i,set:o}=Or(this.prototype,r)??{get(){return this[e]},set(n){this[e]=n}};return{get:i,set(n){let l=i?.call(this);o?.call(this,n),this.requestUpdate(r,l,t)},configurable:!0,enumerable:!0}}static getPropertyOptions(r){return this.elementProperties.get(r)??qt}static _$Ei(){if(this.hasOwnProperty(Ue("elementProperties")))return;let r=Dr(this);r.finalize(),r.l!==void 0&&(this.l=[...r.l]),this.elementProperties=new Map(r.elementProperties)}static finalize(){if(this.hasOwnProperty(Ue("finalized")))return;if(this.finalized=!0,this._$Ei(),this.hasOwnProperty(Ue("properties"))){let e=this.properties,t=[...Ur(e),...Hr(e)];for(let i of t)this.createProperty(i,e[i])}let r=this[Symbol.metadata];if(r!==null){let e=litPropertyMetadata.get(r);if(e!==void 0)for(let[t,i]of e)this.elementProperties.set(t,i)}this._$Eh=new Map;for(let[e,t]of this.elementProperties){let i=this._$Eu(e,t);i!==void 0&&this._$Eh.set(i,e)}this.elementStyles=this.finalizeStyles(this.styles)}static finalizeStyles(r){let e=[];if(Array.isArray(r)){let t=new Set(r.flat(1/0).reverse());for(let i of t)e.unshift(kt(i))}else r!==void 0&&e.push(kt(r));return e}static _$Eu(r,e){let t=e.attribute;return t===!1?void 0:typeof t=="string"?t:typeof r=="string"?r.toLowerCase():void 0}constructor(){super(),this._$Ep=void 0,this.isUpdatePending=!1,this.hasUpdated=!1,this._$Em=null,this._$Ev()}_$Ev(){this._$ES=new Promise(r=>this.enableUpdating=r),this._$AL=new Map,this._$E_(),this.requestUpdate(),this.constructor.l?.forEach(r=>r(this))}addController(r){(this._$EO??=new Set).add(r),this.renderRoot!==void 0&&this.isConnected&&r.hostConnected?.()}removeController(r){this._$EO?.delete(r)}_$E_(){let r=new Map,e=this.constructor.elementProperties;for(let t of e.keys())this.hasOwnProperty(t)&&(r.set(t,this[t]),delete this[t]);r.size>0&&(this._$Ep=r)}createRenderRoot(){let r=this.shadowRoot??this.attachShadow(this.constructor.shadowRootOptions);return It(r,this.constructor.elementStyles),r}connectedCallback(){this.renderRoot??=this.createRenderRoot(),this.enableUpdating(!0),this._$EO?.forEach(r=>r.hostConnected?.())}enableUpdating(r){}disconnectedCallback(){this._$EO?.forEach(r=>r.hostDisconnected?.())}attributeChangedCallback(r,e,t){this._$AK(r,t)}_$ET(r,e){let t=this.constructor.elementProperties.get(r),i=this.constructor._$Eu(r,t);if(i!==void 0&&t.reflect===!0){let o=(t.converter?.toAttribute!==void 0?t.converter:He).toAttribute(e,t.type);this._$Em=r,o==null?this.removeAttribute(i):this.setAttribute(i,o),this._$Em=null}}_$AK(r,e){let t=this.constructor,i=t._$Eh.get(r);if(i!==void 0&&this._$Em!==i){let o=t.getPropertyOptions(i),n=typeof o.converter=="function"?{fromAttribute:o.converter}:o.converter?.fromAttribute!==void 0?o.converter:He;this._$Em=i;let l=n.fromAttribute(e,o.type);this[i]=l??this._$Ej?.get(i)??l,this._$Em=null}}requestUpdate(r,e,t,i=!1,o){if(r!==void 0){let n=this.constructor;if(i===!1&&(o=this[r]),t??=n.getPropertyOptions(r),!((t.hasChanged??tt)(o,e)||t.useDefault&&t.reflect&&o===this._$Ej?.get(r)&&!this.hasAttribute(n._$Eu(r,t))))return;this.C(r,e,t)}this.isUpdatePending===!1&&(this._$ES=this._$EP())}C(r,e,{useDefault:t,reflect:i,wrapped:o},n){t&&!(this._$Ej??=new Map).has(r)&&(this._$Ej.set(r,n??e??this[r]),o!==!0||n!==void 0)||(this._$AL.has(r)||(this.hasUpdated||t||(e=void 0),this._$AL.set(r,e)),i===!0&&this._$Em!==r&&(this._$Eq??=new Set).add(r))}async _$EP(){this.isUpdatePending=!0;try{await this._$ES}catch(e){Promise.reject(e)}let r=this.scheduleUpdate();return r!=null&&await r,!this.isUpdatePending}scheduleUpdate(){return this.performUpdate()}performUpdate(){if(!this.isUpdatePending)return;if(!this.hasUpdated){if(this.renderRoot??=this.createRenderRoot(),this._$Ep){for(let[i,o]of this._$Ep)this[i]=o;this._$Ep=void 0}let t=this.constructor.elementProperties;if(t.size>0)for(let[i,o]of t){let{wrapped:n}=o,l=this[i];n!==!0||this._$AL.has(i)||l===void 0||this.C(i,void 0,o,l)}}let r=!1,e=this._$AL;try{r=this.shouldUpdate(e),r?(this.willUpdate(e),this._$EO?.forEach(t=>t.hostUpdate?.()),this.update(e)):this._$EM()}catch(t){throw r=!1,this._$EM(),t}r&&this._$AE(e)}willUpdate(r){}_$AE(r){this._$EO?.forEach(e=>e.hostUpdated?.()),this.hasUpdated||(this.hasUpdated=!0,this.firstUpdated(r)),this.updated(r)}_$EM(){this._$AL=new Map,this.isUpdatePending=!1}get updateComplete(){return this.getUpdateComplete()}getUpdateComplete(){return this._$ES}shouldUpdate(r){return!0}update(r){this._$Eq&&=this._$Eq.forEach(e=>this._$ET(e,this[e])),this._$EM()}updated(r){}firstUpdated(r){}};Y.elementStyles=[],Y.shadowRootOptions={mode:"open"},Y[Ue("elementProperties")]=new Map,Y[Ue("finalized")]=new Map,Nr?.({ReactiveElement:Y}),(et.reactiveElementVersions??=[]).push("2.1.2");var _t=globalThis,Bt=s=>s,rt=_t.trustedTypes,jt=rt?rt.createPolicy("lit-html",{createHTML:s=>s}):void 0,Et="$lit$",Q=`lit$${Math.random().toFixed(9).slice(2)}$`,At="?"+Q,qr=`<${At}>`,pe=document,Ie=()=>pe.createComment(""),Ne=s=>s===null||typeof s!="object"&&typeof s!="function",Mt=Array.isArray,Jt=s=>Mt(s)||typeof s?.[Symbol.iterator]=="function",xt=`[ 	
\f\r]`,De=/<(?:(!--|\/[^a-zA-Z])|(\/?[a-zA-Z][^>\s]*)|(\/?$))/g,Ft=/-->/g,Kt=/>/g,ce=RegExp(`>|${xt}(?:([^\\s"'>=/]+)(${xt}*=${xt}*(?:[^ 	
\f\r"'\`<>=]|("|')|))|$)`,"g"),Vt=/'/g,Wt=/"/g,Yt=/^(?:script|style|textarea|title)$/i,St=s=>(r,...e)=>({_$litType$:s,strings:r,values:e}),a=St(1),D=St(2),Bi=St(3),H=Symbol.for("lit-noChange"),h=Symbol.for("lit-nothing"),Gt=new WeakMap,he=pe.createTreeWalker(pe,129);function Qt(s,r){if(!Mt(s)||!s.hasOwnProperty("raw"))throw Error("invalid template strings array");return jt!==void 0?jt.createHTML(r):r}var Zt=(s,r)=>{let e=s.length-1,t=[],i,o=r===2?"<svg>":r===3?"<math>":"",n=De;for(let l=0;l<e;l++){let d=s[l],m,g,p=-1,y=0;for(;y<d.length&&(n.lastIndex=y,g=n.exec(d),g!==null);)y=n.lastIndex,n===De?g[1]==="!--"?n=Ft:g[1]!==void 0?n=Kt:g[2]!==void 0?(Yt.test(g[2])&&(i=RegExp("</"+g[2],"g")),n=ce):g[3]!==void 0&&(n=ce):n===ce?g[0]===">"?(n=i??De,p=-1):g[1]===void 0?p=-2:(p=n.lastIndex-g[2].length,m=g[1],n=g[3]===void 0?ce:g[3]==='"'?Wt:Vt):n===Wt||n===Vt?n=ce:n===Ft||n===Kt?n=De:(n=ce,i=void 0);let k=n===ce&&s[l+1].startsWith("/>")?" ":"";o+=n===De?d+qr:p>=0?(t.push(m),d.slice(0,p)+Et+d.slice(p)+Q+k):d+Q+(p===-2?l:k)}return[Qt(s,o+(s[e]||"<?>")+(r===2?"</svg>":r===3?"</math>":"")),t]},qe=class s{constructor({strings:r,_$litType$:e},t){let i;this.parts=[];let o=0,n=0,l=r.length-1,d=this.parts,[m,g]=Zt(r,e);if(this.el=s.createElement(m,t),he.currentNode=this.el.content,e===2||e===3){let p=this.el.content.firstChild;p.replaceWith(...p.childNodes)}for(;(i=he.nextNode())!==null&&d.length<l;){if(i.nodeType===1){if(i.hasAttributes())for(let p of i.getAttributeNames())if(p.endsWith(Et)){let y=g[n++],k=i.getAttribute(p).split(Q),P=/([.?@])?(.*)/.exec(y);d.push({type:1,index:o,name:P[2],strings:k,ctor:P[1]==="."?st:P[1]==="?"?ot:P[1]==="@"?nt:ue}),i.removeAttribute(p)}else p.startsWith(Q)&&(d.push({type:6,index:o}),i.removeAttribute(p));if(Yt.test(i.tagName)){let p=i.textContent.split(Q),y=p.length-1;if(y>0){i.textContent=rt?rt.emptyScript:"";for(let k=0;k<y;k++)i.append(p[k],Ie()),he.nextNode(),d.push({type:2,index:++o});i.append(p[y],Ie())}}}else if(i.nodeType===8)if(i.data===At)d.push({type:2,index:o});else{let p=-1;for(;(p=i.data.indexOf(Q,p+1))!==-1;)d.push({type:7,index:o}),p+=Q.length-1}o++}}static createElement(r,e){let t=pe.createElement("template");return t.innerHTML=r,t}};function me(s,r,e=s,t){if(r===H)return r;let i=t!==void 0?e._$Co?.[t]:e._$Cl,o=Ne(r)?void 0:r._$litDirective$;return i?.constructor!==o&&(i?._$AO?.(!1),o===void 0?i=void 0:(i=new o(s),i._$AT(s,e,t)),t!==void 0?(e._$Co??=[])[t]=i:e._$Cl=i),i!==void 0&&(r=me(s,i._$AS(s,r.values),i,t)),r}var it=class{constructor(r,e){this._$AV=[],this._$AN=void 0,this._$AD=r,this._$AM=e}get parentNode(){return this._$AM.parentNode}get _$AU(){return this._$AM._$AU}u(r){let{el:{content:e},parts:t}=this._$AD,i=(r?.creationScope??pe).importNode(e,!0);he.currentNode=i;let o=he.nextNode(),n=0,l=0,d=t[0];for(;d!==void 0;){if(n===d.index){let m;d.type===2?m=new xe(o,o.nextSibling,this,r):d.type===1?m=new d.ctor(o,d.name,d.strings,this,r):d.type===6&&(m=new at(o,this,r)),this._$AV.push(m),d=t[++l]}n!==d?.index&&(o=he.nextNode(),n++)}return he.currentNode=pe,i}p(r){let e=0;for(let t of this._$AV)t!==void 0&&(t.strings!==void 0?(t._$AI(r,t,e),e+=t.strings.length-2):t._$AI(r[e])),e++}},xe=class s{get _$AU(){return this._$AM?._$AU??this._$Cv}constructor(r,e,t,i){this.type=2,this._$AH=h,this._$AN=void 0,this._$AA=r,this._$AB=e,this._$AM=t,this.options=i,this._$Cv=i?.isConnected??!0}get parentNode(){let r=this._$AA.parentNode,e=this._$AM;return e!==void 0&&r?.nodeType===11&&(r=e.parentNode),r}get startNode(){return this._$AA}get endNode(){return this._$AB}_$AI(r,e=this){r=me(this,r,e),Ne(r)?r===h||r==null||r===""?(this._$AH!==h&&this._$AR(),this._$AH=h):r!==this._$AH&&r!==H&&this._(r):r._$litType$!==void 0?this.$(r):r.nodeType!==void 0?this.T(r):Jt(r)?this.k(r):this._(r)}O(r){return this._$AA.parentNode.insertBefore(r,this._$AB)}T(r){this._$AH!==r&&(this._$AR(),this._$AH=this.O(r))}_(r){this._$AH!==h&&Ne(this._$AH)?this._$AA.nextSibling.data=r:this.T(pe.createTextNode(r)),this._$AH=r}$(r){let{values:e,_$litType$:t}=r,i=typeof t=="number"?this._$AC(r):(t.el===void 0&&(t.el=qe.createElement(Qt(t.h,t.h[0]),this.options)),t);if(this._$AH?._$AD===i)this._$AH.p(e);else{let o=new it(i,this),n=o.u(this.options);o.p(e),this.T(n),this._$AH=o}}_$AC(r){let e=Gt.get(r.strings);return e===void 0&&Gt.set(r.strings,e=new qe(r)),e}k(r){Mt(this._$AH)||(this._$AH=[],this._$AR());let e=this._$AH,t,i=0;for(let o of r)i===e.length?e.push(t=new s(this.O(Ie()),this.O(Ie()),this,this.options)):t=e[i],t._$AI(o),i++;i<e.length&&(this._$AR(t&&t._$AB.nextSibling,i),e.length=i)}_$AR(r=this._$AA.nextSibling,e){for(this._$AP?.(!1,!0,e);r!==this._$AB;){let t=Bt(r).nextSibling;Bt(r).remove(),r=t}}setConnected(r){this._$AM===void 0&&(this._$Cv=r,this._$AP?.(r))}},ue=class{get tagName(){return this.element.tagName}get _$AU(){return this._$AM._$AU}constructor(r,e,t,i,o){this.type=1,this._$AH=h,this._$AN=void 0,this.element=r,this.name=e,this._$AM=i,this.options=o,t.length>2||t[0]!==""||t[1]!==""?(this._$AH=Array(t.length-1).fill(new String),this.strings=t):this._$AH=h}_$AI(r,e=this,t,i){let o=this.strings,n=!1;if(o===void 0)r=me(this,r,e,0),n=!Ne(r)||r!==this._$AH&&r!==H,n&&(this._$AH=r);else{let l=r,d,m;for(r=o[0],d=0;d<o.length-1;d++)m=me(this,l[t+d],e,d),m===H&&(m=this._$AH[d]),n||=!Ne(m)||m!==this._$AH[d],m===h?r=h:r!==h&&(r+=(m??"")+o[d+1]),this._$AH[d]=m}n&&!i&&this.j(r)}j(r){r===h?this.element.removeAttribute(this.name):this.element.setAttribute(this.name,r??"")}},st=class extends ue{constructor(){super(...arguments),this.type=3}j(r){this.element[this.name]=r===h?void 0:r}},ot=class extends ue{constructor(){super(...arguments),this.type=4}j(r){this.element.toggleAttribute(this.name,!!r&&r!==h)}},nt=class extends ue{constructor(r,e,t,i,o){super(r,e,t,i,o),this.type=5}_$AI(r,e=this){if((r=me(this,r,e,0)??h)===H)return;let t=this._$AH,i=r===h&&t!==h||r.capture!==t.capture||r.once!==t.once||r.passive!==t.passive,o=r!==h&&(t===h||i);i&&this.element.removeEventListener(this.name,this,t),o&&this.element.addEventListener(this.name,this,r),this._$AH=r}handleEvent(r){typeof this._$AH=="function"?this._$AH.call(this.options?.host??this.element,r):this._$AH.handleEvent(r)}},at=class{constructor(r,e,t){this.element=r,this.type=6,this._$AN=void 0,this._$AM=e,this.options=t}get _$AU(){return this._$AM._$AU}_$AI(r){me(this,r)}},Xt={M:Et,P:Q,A:At,C:1,L:Zt,R:it,D:Jt,V:me,I:xe,H:ue,N:ot,U:nt,B:st,F:at},Br=_t.litHtmlPolyfillSupport;Br?.(qe,xe),(_t.litHtmlVersions??=[]).push("3.3.3");var er=(s,r,e)=>{let t=e?.renderBefore??r,i=t._$litPart$;if(i===void 0){let o=e?.renderBefore??null;t._$litPart$=i=new xe(r.insertBefore(Ie(),o),o,void 0,e??{})}return i._$AI(s),i};var Pt=globalThis,A=class extends Y{constructor(){super(...arguments),this.renderOptions={host:this},this._$Do=void 0}createRenderRoot(){let r=super.createRenderRoot();return this.renderOptions.renderBefore??=r.firstChild,r}update(r){let e=this.render();this.hasUpdated||(this.renderOptions.isConnected=this.isConnected),super.update(r),this._$Do=er(e,this.renderRoot,this.renderOptions)}connectedCallback(){super.connectedCallback(),this._$Do?.setConnected(!0)}disconnectedCallback(){super.disconnectedCallback(),this._$Do?.setConnected(!1)}render(){return H}};A._$litElement$=!0,A.finalized=!0,Pt.litElementHydrateSupport?.({LitElement:A});var jr=Pt.litElementPolyfillSupport;jr?.({LitElement:A});(Pt.litElementVersions??=[]).push("4.2.2");var b=s=>(r,e)=>{e!==void 0?e.addInitializer(()=>{customElements.define(s,r)}):customElements.define(s,r)};var Fr={attribute:!0,type:String,converter:He,reflect:!1,hasChanged:tt},Kr=(s=Fr,r,e)=>{let{kind:t,metadata:i}=e,o=globalThis.litPropertyMetadata.get(i);if(o===void 0&&globalThis.litPropertyMetadata.set(i,o=new Map),t==="setter"&&((s=Object.create(s)).wrapped=!0),o.set(e.name,s),t==="accessor"){let{name:n}=e;return{set(l){let d=r.get.call(this);r.set.call(this,l),this.requestUpdate(n,d,s,!0,l)},init(l){return l!==void 0&&this.C(n,void 0,s,l),l}}}if(t==="setter"){let{name:n}=e;return function(l){let d=this[n];r.call(this,l),this.requestUpdate(n,d,s,!0,l)}}throw Error("Unsupported decorator location: "+t)};function u(s){return(r,e)=>typeof e=="object"?Kr(s,r,e):((t,i,o)=>{let n=i.hasOwnProperty(o);return i.constructor.createProperty(o,t),n?Object.getOwnPropertyDescriptor(i,o):void 0})(s,r,e)}function v(s){return u({...s,state:!0,attribute:!1})}var ge=(s,r,e)=>(e.configurable=!0,e.enumerable=!0,Reflect.decorate&&typeof r!="object"&&Object.defineProperty(s,r,e),e);function M(s,r){return(e,t,i)=>{let o=n=>n.renderRoot?.querySelector(s)??null;if(r){let{get:n,set:l}=typeof t=="object"?e:i??(()=>{let d=Symbol();return{get(){return this[d]},set(m){this[d]=m}}})();return ge(e,t,{get(){let d=n.call(this);return d===void 0&&(d=o(this),(d!==null||this.hasUpdated)&&l.call(this,d)),d}})}return ge(e,t,{get(){return o(this)}})}}var Be=class extends Event{constructor(e){super("xp-frame");this.frame=e}};function lt(s,r,e){if(!r)return()=>{};let t=s.getRootNode(),i=o=>{o instanceof Be&&o.target.id===r&&e(o.frame)};return t.addEventListener("xp-frame",i,!0),()=>t.removeEventListener("xp-frame",i,!0)}var q=-60,Vr=20/1.7,Wr=1500,je=-9,Gr=-18,Jr=[0,-6,-12,-18,-24,-30,-40,-50],Yr=s=>s>0?Math.max(q,20*Math.log10(s)):q,G=class extends A{constructor(){super(...arguments);this.channels=8;this.flat=!1;this.stale=!1;this.picture="";this.state=[];this.shown=0;this.loudest=q;this.release=()=>{};this.observer=new ResizeObserver(()=>this.draw())}connectedCallback(){super.connectedCallback(),this.release=lt(this,this.picture,e=>this.show(e.meters)),this.observer.observe(this)}disconnectedCallback(){super.disconnectedCallback(),this.release(),this.observer.disconnect()}show(e){let t=performance.now(),i=this.shown?Vr*Math.min(t-this.shown,1e3)/1e3:0;this.shown=t,this.loudest=q;for(let o=0;o<this.channels;++o){let n=Yr(e[o]??0),l=this.state[o]??={level:q,peak:q,peakAt:0};l.level=Math.max(n,l.level-i),n>=l.peak?[l.peak,l.peakAt]=[n,t]:t-l.peakAt>Wr&&(l.peak=Math.max(l.level,l.peak-i)),this.loudest=Math.max(this.loudest,l.level)}this.draw()}draw(){let e=this.canvas,t=e?.getContext("2d");if(!t||!this.clientWidth)return;let i=window.devicePixelRatio,o=Math.round(this.clientWidth*i),n=Math.round(this.clientHeight*i);(e.width!==o||e.height!==n)&&([e.width,e.height]=[o,n]);let l=getComputedStyle(this),d=(T,F)=>l.getPropertyValue(T).trim()||F;t.clearRect(0,0,o,n);let g=.62*(parseFloat(l.fontSize)*i),p=this.flat?1.1*g:2*g,y=this.flat?1.2*g:1.5*g,k=this.flat?o-y:n-y-g/2,P=(this.flat?n:o)-p,$=P/this.channels,E=Math.max(1,Math.floor($*.68)),z=T=>Math.round((Math.max(T,q)-q)/-q*k);t.font=`${g}px ${d("--sans","sans-serif")}`,t.textBaseline="middle";let Re=(T,F,W,zt)=>{this.flat?t.fillRect(y+T,F,W,zt):t.fillRect(p+F,n-y-T-W,zt,W)};for(let T=0;T<this.channels;++T){let F=Math.round(T*$),W=this.state[T]??{level:q,peak:q,peakAt:0};t.fillStyle=d("--raised","#1b1e21"),Re(0,F,k,E),t.fillStyle=d("--text","#c9ced3"),Re(0,F,z(Math.min(W.level,je)),E),W.level>je&&(t.fillStyle=d("--amber","#f0a830"),Re(z(je),F,z(W.level)-z(je),E)),W.peak>q&&(t.fillStyle=W.peak>je?d("--amber","#f0a830"):d("--bright","#fff"),Re(z(W.peak)-Math.ceil(i),F,2*Math.ceil(i),E)),t.fillStyle=d("--dim","#8d959d"),t.textAlign="center",!($<g)&&(this.flat?t.fillText(String(T+1),g/2,F+E/2):t.fillText(String(T+1),p+F+E/2,n-y/2))}t.textAlign=this.flat?"center":"right";for(let T of Jr)t.fillStyle=d(T===Gr?"--bright":"--dim","#8d959d"),this.flat?t.fillText(String(-T),Math.min(y+z(T),o-g/2),n-p/2):t.fillText(String(-T),p-.45*g,n-y-z(T)),t.fillStyle=d("--ground","#000"),Re(z(T),0,Math.max(1,Math.round(i)),P)}render(){let e=this.loudest<=q?"silent":`${this.loudest.toFixed(0)} decibels of full scale`;return a`<canvas role="img" aria-label="Sound levels: ${e}"></canvas>`}};G.styles=f`
    :host { display: block; position: relative; }
    canvas { position: absolute; inset: 0; width: 100%; height: 100%; }
    :host([stale]) canvas { opacity: 0.3; }
  `,c([u({type:Number})],G.prototype,"channels",2),c([u({type:Boolean})],G.prototype,"flat",2),c([u({type:Boolean,reflect:!0})],G.prototype,"stale",2),c([u({attribute:"for"})],G.prototype,"picture",2),c([M("canvas")],G.prototype,"canvas",2),G=c([b("xp-meter")],G);var Qr=1,Zr=200,Xr=800,ei=1e3,dt=class{constructor(){this.onframe=()=>{};this.fallback=!1;this.at="";this.socket=null;this.waiting=null;this.decoding=!1;this.failures=0;this.heard=0;this.running=!1}start(){this.running||(this.running=!0,this.connect())}stop(){this.running=!1,this.socket?.close(),this.socket=null}renew(){if(!this.running||this.age<ei||!this.socket)return;let r=this.socket;this.socket=null,r.onmessage=r.onclose=null,r.close(),this.open()}connect(){if(this.running){if(this.failures>=3){this.fallback||(this.fallback=!0,this.askForFile()),setTimeout(()=>this.open(),Xr);return}this.open()}}open(){if(!this.running)return;let r;try{r=new WebSocket(Qe(`${this.at}pictures`),K()?["xp",`token.${K()}`]:["xp"])}catch{this.failures++,setTimeout(()=>this.connect(),200);return}r.binaryType="arraybuffer",this.socket=r,r.onmessage=e=>{e.data instanceof ArrayBuffer&&(this.failures=0,this.fallback=!1,this.heard=performance.now(),this.waiting=e.data,this.decode())},r.onclose=()=>{r===this.socket&&(this.socket=null,this.failures++,setTimeout(()=>this.connect(),200))}}get age(){return performance.now()-this.heard}async decode(){if(!this.decoding){for(this.decoding=!0;this.waiting;){let r=this.waiting;this.waiting=null;try{let e=await ti(r);e&&this.onframe(e)}catch{}}this.decoding=!1}}async askForFile(){for(;this.running&&this.fallback;){try{let r=await fetch(Ut(`${this.at}picture.jpg`),{cache:"no-store",headers:K()?{Authorization:`Bearer ${K()}`}:{}});r.ok&&await this.showFile(r)}catch{}await new Promise(r=>setTimeout(r,Zr))}}async showFile(r){let e=i=>r.headers.get(i)??"",t=await createImageBitmap(await r.blob());this.heard=performance.now(),this.onframe({tick:Number(e("X-Tick")),frame:Number(e("X-Frame")||-1),timecode:e("X-Timecode"),isCapture:e("X-Capture")==="1",isRepeat:!1,hasPicture:!0,meters:e("X-Meters").split(",").filter(Boolean).map(Number),loudness:null,captured:Number(e("X-Captured")),image:t})}};async function ti(s){let r=new DataView(s);if(s.byteLength<112||r.getUint16(0,!0)!==Qr)return null;let e=r.getUint16(2,!0),t=r.getUint32(4,!0),i=[];for(let l=0;l<8;++l)i.push(r.getFloat32(32+4*l,!0));let o=new TextDecoder().decode(new Uint8Array(s,64,32)),n=await createImageBitmap(new Blob([new Uint8Array(s,e)],{type:"image/jpeg"}));return{tick:Number(r.getBigInt64(8,!0)),frame:Number(r.getBigInt64(16,!0)),captured:Number(r.getBigInt64(24,!0))/1e6,meters:i,loudness:e>=120?[r.getFloat32(112,!0),r.getFloat32(116,!0)]:null,timecode:o.slice(0,o.indexOf("\0")<0?void 0:o.indexOf("\0")),isCapture:(t&1)!==0,isRepeat:(t&2)!==0,hasPicture:(t&4)!==0,image:n}}var oe=class extends A{constructor(){super(...arguments);this.auto=!1;this.stale=!1;this.link=new dt;this.last=null}connectedCallback(){super.connectedCallback(),this.link.onframe=e=>this.paint(e),this.auto&&this.link.start()}disconnectedCallback(){super.disconnectedCallback(),this.link.stop()}paint(e){let t=this.canvas;t&&((t.width!==e.image.width||t.height!==e.image.height)&&(t.width=e.image.width,t.height=e.image.height),t.getContext("2d",{alpha:!1})?.drawImage(e.image,0,0),e.image.close(),this.last=e,this.dispatchEvent(new Be(e)))}render(){return a`<canvas width="960" height="540" role="img" aria-label="Picture on the output"></canvas>`}};oe.styles=f`
    :host { display: block; position: relative; background: #000; overflow: hidden; }
    canvas { display: block; width: 100%; height: 100%; object-fit: contain; }
    :host([stale]) canvas { filter: grayscale(1) brightness(0.45); }
  `,c([u({type:Boolean})],oe.prototype,"auto",2),c([u({type:Boolean,reflect:!0})],oe.prototype,"stale",2),c([M("canvas")],oe.prototype,"canvas",2),oe=c([b("xp-picture")],oe);var Z=class extends A{constructor(){super(...arguments);this.value="--:--:--:--";this.age=0;this.recording=!1;this.picture="";this.release=()=>{}}connectedCallback(){super.connectedCallback(),this.release=lt(this,this.picture,e=>this.value=e.timecode)}disconnectedCallback(){super.disconnectedCallback(),this.release()}render(){let e=this.age>0;return a`<span role="timer" aria-live="off" class=${e?"stale":""}>${this.value||"--:--:--:--"}</span>${this.age>=1?a`<span class="age">${(this.age/1e3).toFixed(1)} s old</span>`:h}`}};Z.styles=f`
    :host { display: inline-block; font-family: var(--sans, sans-serif); font-weight: 700; font-variant-numeric: tabular-nums;
      line-height: 1; white-space: pre; position: relative; color: var(--bright, #f5f7f8); letter-spacing: -0.01em; }
    :host([recording]) { color: var(--red-text, #ff5f54); }
    .stale { color: var(--edge, #5d656d); }
    .age { font-family: var(--sans, sans-serif); font-size: max(0.16em, 12px); letter-spacing: 0; color: var(--amber, #f0a830); position: absolute; right: 0; bottom: 0; padding: 0 0.4em; background: var(--panel, #101214); }
  `,c([u()],Z.prototype,"value",2),c([u({type:Number})],Z.prototype,"age",2),c([u({type:Boolean,reflect:!0})],Z.prototype,"recording",2),c([u({attribute:"for"})],Z.prototype,"picture",2),Z=c([b("xp-timecode")],Z);var tr=500,ri=12e3,rr=[100,250,500,900],_e=class{constructor(r=""){this.at=r;this.state=null;this.counters={};this.verbs=[];this.parameters=new Map;this.pending=new Set;this.notice=null;this.linked=!1;this.me={name:"",role:"view"};this.silence=0;this.blindness=0;this.clockOffset=null;this.version="";this.onlink=()=>{};this.socket=null;this.seq=-1;this.boot="";this.heard=performance.now();this.seen=performance.now();this.asked=performance.now();this.tries=0;this.listeners=new Set;this.scheduled=!1;this.bestTrip=1/0;this.owedSteps=0;this.stepping=!1;this.wantedSpeed=null;this.speeding=!1;this.timer=0;this.beats=0;this.watch=()=>{(this.beats++<10||this.beats%10===0)&&this.ping();let r=performance.now(),e=r-this.heard;Math.min(e,r-this.asked)>3*tr&&this.socket&&this.abandon(this.socket);let t=o=>o>tr?o:0,i=this.state?.running===!1?0:t(r-this.seen);t(e)===this.silence&&i===this.blindness||(this.silence=t(e),this.blindness=i,this.changed())}}start(){this.connect(),this.timer=window.setInterval(()=>this.watch(),100),document.addEventListener("visibilitychange",this.watch)}stop(){clearInterval(this.timer),document.removeEventListener("visibilitychange",this.watch);let r=this.socket;this.socket=null,r?.close()}subscribe(r){return this.listeners.add(r),()=>this.listeners.delete(r)}pictureSeen(){this.seen=performance.now(),this.blindness!==0&&(this.blindness=0,this.changed())}get stale(){return this.silence>0}get frozen(){return Math.max(this.silence,this.blindness)}verb(r){return this.verbs.find(e=>e.name===r)}async run(r,e={}){this.pending=new Set([...this.pending,r]),this.changed();let t=await I("POST",`${this.at}transport/${r}`,e);this.pending=new Set([...this.pending].filter(o=>o!==r));let i=await ir(t);return i.done?this.notice?.kind==="refused"&&(this.notice=null):this.tell({kind:"refused",title:S(r),text:ct(i)}),this.changed(),i}steps(r){this.owedSteps+=r,!this.stepping&&(this.stepping=!0,(async()=>{for(;this.owedSteps!==0;){let e=this.owedSteps;this.owedSteps=0,(await this.run("step",{frames:e})).done||(this.owedSteps=0)}this.stepping=!1})())}speed(r){this.wantedSpeed=r,!this.speeding&&(this.speeding=!0,(async()=>{for(;this.wantedSpeed!==null;){let e=this.wantedSpeed;this.wantedSpeed=null,(e===0?await this.run("still"):await this.run("play",{speed:e})).done||(this.wantedSpeed=null)}this.speeding=!1})())}async set(r,e){let t=await ir(await I("PUT",`${this.at}params/${encodeURIComponent(r)}`,{value:e}));return t.done||this.tell({kind:"refused",title:S(r),text:ct(t)}),t}tell(r){this.notice=r,r&&setTimeout(()=>this.notice===r&&this.tell(null),ri),this.changed()}changed(){this.scheduled||(this.scheduled=!0,queueMicrotask(()=>{this.scheduled=!1;for(let r of[...this.listeners])r()}))}connect(){let r=new URLSearchParams;this.seq>=0&&r.set("since",String(this.seq)),this.boot&&r.set("boot",this.boot),this.asked=performance.now();let e=new WebSocket(Qe(`${this.at}events`)+(r.size?`?${r}`:""),K()?["xp",`token.${K()}`]:["xp"]);this.socket=e,e.onopen=()=>this.ping(),e.onmessage=t=>this.receive(t),e.onclose=()=>this.lost(e)}abandon(r){r.onmessage=r.onclose=null,r.close(),this.lost(r)}reconnect(){this.seq=-1,this.tries=0,this.socket?.close()}async whoAmI(){let r=await N(`${this.at}me`);if(r instanceof _){if(r.status!==401||!K())return;ze(""),this.tell({kind:"lost",title:"The session has ended",text:"This page may only watch until you log in again, under Control."});return}r.name===this.me.name&&r.role===this.me.role||(this.me=r,this.changed())}lost(r){if(r!==this.socket)return;this.socket=null,this.linked=!1,this.changed(),this.tries>0&&this.whoAmI();let e=rr[Math.min(this.tries++,rr.length-1)];setTimeout(()=>this.connect(),e)}receive(r){let e;try{e=JSON.parse(String(r.data))}catch{return}switch(this.heard=performance.now(),this.silence=0,e.type){case"hello":this.boot!==e.boot&&(this.seq=-1),this.boot=String(e.boot??""),this.version=String(e.version??""),this.linked=!0,this.tries=0,this.onlink(),this.whoAmI(),this.readTables();break;case"counters":this.counters=e.counters;break;case"snapshot":this.state=e.state,this.seq=Number(e.seq);break;case"delta":if(this.state===null||Number(e.seq)!==this.seq+1){this.seq=-1,this.socket?.close();return}this.seq=Number(e.seq),this.state={...this.state,...e.changed};break;case"pong":this.measure(Number(e.ping),Number(e.time));return;default:return}this.changed()}ping(){this.socket?.readyState===WebSocket.OPEN&&this.socket.send(JSON.stringify({ping:performance.now()}))}measure(r,e){let i=performance.now()-r;this.bestTrip=Math.min(this.bestTrip*1.02,1/0),!(i>this.bestTrip)&&(this.bestTrip=i,this.clockOffset=e-(r+i/2))}async readTables(){let r=await N(`${this.at}verbs`);r instanceof _||(this.verbs=r.verbs),await this.readParameters()}async readParameters(){let r=await N(`${this.at}params`);r instanceof _||(this.parameters=new Map(r.parameters.map(e=>[e.name,e])),this.changed())}};function fe(s){let r=/^[a-z]+(?=[\s,:;']|$)/.test(s)?s.charAt(0).toUpperCase()+s.slice(1):s;return s&&r.replace(/[.]?$/,".")}var S=s=>{let r=s.replaceAll("_"," ");return r.charAt(0).toUpperCase()+r.slice(1)};function ct(s){return[s.sentence,s.hint].filter(Boolean).map(fe).join(" ")}async function ir(s){if(s instanceof _)return{done:!1,code:s.code,sentence:s.sentence,hint:s.hint};try{let{sentence:r}=await s.json();return{done:!0,code:"done",sentence:r??"",hint:""}}catch{return{done:!0,code:"done",sentence:"",hint:""}}}var ht=s=>s.replace(/\[[^[\]]*\)$/,""),R=s=>s?.status==="recording";function sr(){let s=[],r=0;return{add(e){return s.push(e),s.length>50&&s.shift(),++r%10!==0?null:[...s].sort((t,i)=>t-i)[s.length>>1]},all:()=>[...s]}}var x=class extends A{constructor(){super(...arguments);this.unsubscribe=()=>{};this.followed=[]}connectedCallback(){super.connectedCallback(),this.unsubscribe=this.deck.subscribe(()=>{let e=this.follows();e&&this.followed.length===e.length&&e.every((t,i)=>t===this.followed[i])||(this.followed=e??[],this.requestUpdate())})}disconnectedCallback(){super.disconnectedCallback(),this.unsubscribe()}follows(){return null}render(){try{return this.view()??h}catch(e){return a`<p role="alert">This part cannot be shown (${String(e)}). The others are not affected.</p>`}}};c([u({attribute:!1})],x.prototype,"deck",2);var w=f`
  * { box-sizing: border-box; }
  :host { display: block; color: var(--text); font-size: 1rem; }
  button, input, select, textarea { font: inherit; color: inherit; }
  button {
    background: var(--raised); border: 1px solid var(--line); border-radius: var(--round); min-height: 2.75rem; padding: 0 0.75rem;
    color: var(--text); cursor: pointer; touch-action: manipulation;
  }
  button:hover { background: var(--lifted); }
  [aria-pressed="true"], [aria-pressed="true"]:hover { background: var(--bright); color: var(--on-bright); border-color: var(--bright); }
  a { color: var(--bright); }
  button:disabled { color: var(--off); cursor: default; background: var(--panel); border-style: var(--off-border); }
  button.small { min-height: 1.9rem; padding: 0 0.5rem; font-size: 0.8125rem; }
  @media (pointer: coarse) { button.small { min-height: 2.75rem; } }
  input, select, textarea {
    background: var(--ground); border: 1px solid var(--edge); border-radius: var(--round); min-height: 2.25rem; padding: 0 0.6rem; min-width: 0;
  }
  :focus-visible { outline: 2px solid var(--focus); outline-offset: 1px; }
  h2 { font-size: 0.8125rem; font-weight: 700; color: var(--bright); margin: 0; }
  .dim { color: var(--dim); }
  .figure { font-weight: 700; font-variant-numeric: tabular-nums; }
  .label { font-size: 0.6875rem; color: var(--dim); letter-spacing: 0.02em; }
  .cut { overflow: hidden; text-overflow: ellipsis; white-space: nowrap; }
  [role="alert"] { color: var(--amber); padding: 0.75rem; margin: 0; }
  [hidden] { display: none !important; }
  .hidden { position: absolute; width: 1px; height: 1px; overflow: hidden; clip-path: inset(50%); white-space: nowrap; }
`;var or={error:"✕",warning:"!",information:"i",clear:"✓"},ve=class extends x{constructor(){super(...arguments);this.history=[];this.problem="";this.known="";this.reading=!1}willUpdate(){let e=(this.deck.state?.alarm_list??[]).map(t=>t.name+t.since+(t.acknowledged_by??"")).join();e===this.known&&this.history.length||(this.known=e,this.read())}async read(){if(this.reading)return;this.reading=!0;let e=await N("alarms/history");e instanceof _?this.problem=e.sentence:(this.problem="",this.history=e.history),setTimeout(()=>this.reading=!1,1e3)}follows(){return[this.deck.state?.alarm_list]}view(){let e=this.deck.state?.alarm_list??[];return a`
      <section aria-label="Now">
        <h2>Now</h2>
        ${e.length?e.map(t=>this.alarm(t)):a`<p class="calm">Nothing is wrong.</p>`}
      </section>
      <section aria-label="History">
        <h2>History</h2>
        ${this.problem?a`<p role="alert">${this.problem}</p>`:h}
        <table>
          <tbody>
            ${[...this.history].reverse().slice(0,200).map(t=>a`<tr><td>${t.time.replace("T"," ").slice(0,19)}</td><td aria-label=${t.level}>${or[t.level]??""}</td><td>${S(t.name)}${t.message?a`: <bdi>${t.message}</bdi>`:h}</td></tr>`)}
          </tbody>
        </table>
      </section>
    `}alarm(e){return a`<article class=${e.level}>
      <header><b>${or[e.level]} ${S(e.name)}</b><span>${S(e.level)} since ${e.since.replace("T"," ").slice(0,19)}</span></header>
      <p><bdi>${e.message}</bdi></p>
      <p class="dim">${fe(e.advice)}</p>
      ${e.acknowledged_by?a`<p class="dim">Seen by <bdi>${e.acknowledged_by}</bdi>.</p>`:this.deck.verb("acknowledge")?a`<button class="small" data-verb="acknowledge" @click=${()=>{this.deck.run("acknowledge",{alarm:e.name})}}>Seen</button>`:h}
    </article>`}};ve.styles=[w,f`
      :host { height: 100%; overflow-y: auto; scrollbar-color: var(--edge) transparent; }
      section { display: grid; gap: 0.5rem; padding-bottom: 1rem; }
      article { background: var(--raised); border-left: 0.25rem solid var(--edge); padding: 0.6rem 0.75rem; display: grid; gap: 0.25rem; border-radius: 0 var(--round) var(--round) 0; }
      article.warning, article.error { border-color: var(--amber); }
      article header { display: grid; gap: 0.1rem; }
      header b { color: var(--bright); }
      .warning header b, .error header b { color: var(--amber); }
      header span { font-size: 0.75rem; color: var(--dim); white-space: nowrap; }
      article button { justify-self: start; }
      p { margin: 0; font-size: 0.9375rem; }
      .calm { color: var(--dim); padding: 0.75rem 0; }
      table { width: 100%; border-collapse: collapse; font-size: 0.8125rem; }
      td { padding: 0.25rem 0.5rem 0.25rem 0; vertical-align: top; border-bottom: 1px solid var(--line); }
      td:first-child { white-space: nowrap; color: var(--dim); }
    `],c([v()],ve.prototype,"history",2),c([v()],ve.prototype,"problem",2),ve=c([b("xp-alarms")],ve);var ii={record:D`<circle cx="12" cy="12" r="7"/>`,stop:D`<rect x="5.5" y="5.5" width="13" height="13"/>`,play:D`<path d="M7 4.5v15L20 12z"/>`,reverse:D`<path d="M17 4.5v15L4 12z"/>`,still:D`<path d="M6 5h4.2v14H6zM13.8 5H18v14h-4.2z"/>`,forward:D`<path d="M2.5 5v14l9.5-7zM12 5v14l9.5-7z"/>`,rewind:D`<path d="M21.500 5v14L12 12zM12 5v14l-9.500-7z"/>`,next:D`<path d="M5 5v14l10.500-7zM16 5h3v14h-3z"/>`,prev:D`<path d="M19 5v14L8.500 12zM5 5h3v14H5z"/>`,step:D`<path d="M9 6v12l8-6z"/>`,back:D`<path d="M15 6v12l-8-6z"/>`},nr=s=>a`<svg viewBox="0 0 24 24" aria-hidden="true">${ii[s]}</svg>`;var si=1e3,ar=s=>["delete","shut_down"].includes(s),pt=class extends Event{constructor(e){super("xp-forms",{bubbles:!0,composed:!0});this.verb=e}},C=class extends A{constructor(){super(...arguments);this.verb="";this.label="";this.icon="";this.hint="";this.lit=!1;this.red=!1;this.pending=!1;this.hold=!1;this.disabled=!1;this.toggle=!1;this.held=0;this.since=0}focus(){this.renderRoot.querySelector("button")?.focus()}press(){this.dispatchEvent(new Event("press",{bubbles:!0,composed:!0}))}get isHeld(){return this.since>0}begin(){if(this.disabled||this.since)return;if(!this.hold)return this.press();this.since=performance.now();let e=()=>{if(this.since){if(this.held=Math.min(1,(performance.now()-this.since)/si),this.held<1)return void requestAnimationFrame(e);this.since=0,this.held=0,this.press()}};requestAnimationFrame(e)}end(){this.since&&(this.since=0,this.held=0,this.dispatchEvent(new Event("toobrief",{bubbles:!0,composed:!0})))}down(e){e.button===0&&(this.hold&&e.target.setPointerCapture?.(e.pointerId),this.begin())}keydown(e){e.key!=="Enter"&&e.key!==" "||(e.preventDefault(),e.stopPropagation(),e.repeat||this.begin())}updated(){this.renderRoot.querySelector("i")?.style.setProperty("transform",`scaleX(${this.held})`)}render(){return a`<button
      type="button"
      ?disabled=${this.disabled}
      aria-pressed=${this.toggle?this.lit?"true":"false":h}
      aria-label=${this.hint||this.label}
      aria-busy=${this.pending?"true":"false"}
      title=${this.hint}
      @pointerdown=${this.down}
      @pointerup=${this.end}
      @pointercancel=${this.end}
      @keydown=${this.keydown}
      @keyup=${e=>(e.key==="Enter"||e.key===" ")&&this.end()}
      @blur=${this.end}
      @click=${e=>e.detail===0&&!e.isTrusted&&this.begin()}
    >
      ${this.icon?nr(this.icon):h}<span>${this.label}</span>${this.held>0?a`<i></i>`:h}
    </button>`}};C.styles=[w,f`
      :host { display: block; min-width: 0; }
      button { width: 100%; height: 100%; padding: 0 0.125rem; display: grid; place-content: center; justify-items: center; gap: 0.2rem; position: relative; overflow: hidden;
        border-color: transparent; border-top-color: var(--lifted); user-select: none; -webkit-user-select: none; -webkit-touch-callout: none; touch-action: none; }
      svg { width: 1.5rem; height: 1.5rem; fill: currentColor; display: block; }
      span { font-size: 0.75rem; line-height: 1; white-space: nowrap; }
      button:not(:has(svg)) span { font-size: 0.9375rem; font-weight: 700; }
      :host([red]) svg { color: var(--red-text); }
      :host([lit]) button { background: var(--bright); color: var(--on-bright); border-color: var(--bright); }
      :host([lit][red]) button { background: var(--red); color: var(--on-red); border-color: var(--red); }
      :host([lit][red]) svg { color: var(--on-red); }
      :host([pending]) button { border: 2px solid var(--bright); }
      i { position: absolute; left: 0; bottom: 0; height: 0.3rem; width: 100%; background: var(--amber); transform-origin: left; }
    `],c([u()],C.prototype,"verb",2),c([u()],C.prototype,"label",2),c([u()],C.prototype,"icon",2),c([u()],C.prototype,"hint",2),c([u({type:Boolean,reflect:!0})],C.prototype,"lit",2),c([u({type:Boolean,reflect:!0})],C.prototype,"red",2),c([u({type:Boolean,reflect:!0})],C.prototype,"pending",2),c([u({type:Boolean})],C.prototype,"hold",2),c([u({type:Boolean})],C.prototype,"disabled",2),c([u({type:Boolean})],C.prototype,"toggle",2),c([v()],C.prototype,"held",2),C=c([b("xp-key")],C);var oi=2,ni=400,ai=2e3,li=4,we=new Map,lr=[],Tt=0;function di(s){lr.push(s);let r=()=>{let e=Tt<oi?lr.shift():void 0;e&&(Tt++,e().finally(()=>{Tt--,r()}))};r()}function ci(s,r){let[e]=we.keys();we.size>=ni&&(URL.revokeObjectURL(we.get(e)??""),we.delete(e));let t=URL.createObjectURL(r);return we.set(s,t),t}var be=class extends A{constructor(){super(...arguments);this.path="";this.shown="";this.tries=0}willUpdate(e){e.has("path")&&(this.tries=0,this.shown=we.get(this.path)??"",this.path&&!this.shown&&this.ask(this.path))}ask(e){di(async()=>{if(e!==this.path||!this.isConnected)return;let t=await I("GET",e);if(t instanceof _){++this.tries<li&&setTimeout(()=>e===this.path&&this.ask(e),ai);return}let i=we.get(e)??ci(e,await t.blob());e===this.path&&(this.shown=i)})}render(){return this.shown?a`<img alt="" draggable="false" src=${this.shown} @error=${()=>this.shown=""} />`:h}};be.styles=f`
    :host { display: block; background: #000; overflow: hidden; }
    img { width: 100%; height: 100%; object-fit: var(--fit, contain); display: block; }
  `,c([u()],be.prototype,"path",2),c([v()],be.prototype,"shown",2),be=c([b("xp-still")],be);function hi(s){if(!Number.isFinite(s)||s<0)return"-";let r=Math.floor(s),e=Math.floor(r/3600),t=Math.floor(r/60)%60,i=o=>String(o).padStart(2,"0");return e>=1?`${e} h ${i(t)} min`:t>=1?`${t} min ${i(r%60)} s`:`${r} s`}function B(s,r){let e=Math.max(1,Math.round(r||25)),t=Math.max(0,Math.floor(s)),i=n=>String(n).padStart(2,"0"),o=Math.floor(t/e);return`${i(Math.floor(o/3600))}:${i(Math.floor(o/60)%60)}:${i(o%60)}:${i(t%e)}`}function Fe(s){let r=["B","kB","MB","GB","TB"],e=0;for(;s>=1e3&&e<r.length-1;)s/=1e3,++e;return`${s>=100||e===0?s.toFixed(0):s.toFixed(1)} ${r[e]}`}var X=s=>s>0?hi(s):"-",O=s=>s.replaceAll("_"," ");var pi=120,mi=700,ui=6,gi={index:"as recorded",name:"by name",frames:"by length"},dr=()=>3.5*parseFloat(getComputedStyle(document.documentElement).fontSize);function cr(s,r,e){s.style[r]!==e&&(s.style[r]=e)}var L=class extends x{constructor(){super(...arguments);this.clips=[];this.problem="";this.search="";this.order="index";this.falling=!0;this.chosen=new Set;this.top=0;this.tall=400;this.asking="";this.progress="";this.moving=!1;this.rest=0;this.again=0;this.anchor=0;this.at=0;this.known="";this.reading=!1;this.rowHeight=dr();this.observer=new ResizeObserver(()=>{this.tall=this.rows?.clientHeight??400,this.rowHeight=dr()});this.kept={of:[],list:[]};this.scrolled=e=>{let{scrollTop:t}=e.target;Math.abs(t-this.top)>this.rowHeight&&(this.moving=!0),this.top=t,clearTimeout(this.rest),this.rest=window.setTimeout(()=>this.moving=!1,pi)}}connectedCallback(){super.connectedCallback(),this.read()}disconnectedCallback(){super.disconnectedCallback(),this.observer.disconnect()}firstUpdated(){this.observer.observe(this.rows)}async read(){if(this.reading)return;this.reading=!0;let e=[];for(;;){let i=await N(`clips?offset=${e.length}&limit=1000`);if(i instanceof _){this.problem=i.sentence;break}if(this.problem="",e.push(...i.clips),i.clips.length===0||e.length>=i.total)break}if(this.reading=!1,this.problem)return;this.clips=e,this.compare();let t=new Set(e.map(i=>i.name));[...this.chosen].some(i=>!t.has(i))&&(this.chosen=new Set([...this.chosen].filter(i=>t.has(i))))}compare(){let{state:e}=this.deck,t=e?.media.find(i=>i.path===e.path)?.clips;t===void 0||t===this.clips.length||this.again>=ui||(this.again++,setTimeout(()=>this.isConnected&&void this.read(),mi))}get contents(){let e=this.deck.state;return e?[e.path,e.list_revision,e.status==="recording",e.media.map(t=>t.clips).join()].join():""}willUpdate(){let e=this.contents;e!==this.known&&(this.known=e,this.again=0,this.read())}get sorted(){let e=[this.clips,this.search,this.order,this.falling];return e.every((t,i)=>t===this.kept.of[i])||(this.kept={of:e,list:this.inOrder()}),this.kept.list}inOrder(){let e=this.search.trim().toLowerCase(),t=e?this.clips.filter(o=>o.name.toLowerCase().includes(e)):[...this.clips],i=this.order;return t.sort((o,n)=>i==="name"?o.name<n.name?-1:1:o[i]-n[i]),this.falling?t.reverse():t}choose(e,t,i){let o=t[i].name;if(this.at=i,e.shiftKey){let[n,l]=[Math.min(this.anchor,i),Math.max(this.anchor,i)];this.chosen=new Set(t.slice(n,l+1).map(d=>d.name))}else if(e.ctrlKey||e.metaKey){let n=new Set(this.chosen);n.delete(o)||n.add(o),this.chosen=n,this.anchor=i}else this.chosen=new Set([o]),this.anchor=i}keydown(e,t){let i=t.length,o={ArrowDown:1,ArrowUp:-1,PageDown:10,PageUp:-10,Home:-i,End:i}[e.key];if(e.key==="a"&&(e.ctrlKey||e.metaKey)&&(e.preventDefault(),this.chosen=new Set(t.map(m=>m.name))),e.key==="Enter"&&this.chosen.size&&(e.preventDefault(),e.stopPropagation(),this.open([...this.chosen][0])),o===void 0||!t.length)return;e.preventDefault(),e.stopPropagation();let n=this.chosen.size?this.at:Math.sign(o)<0?i:-1,l=Math.min(i-1,Math.max(0,n+o));(!e.shiftKey||!this.chosen.size)&&(this.anchor=l),this.at=l,this.chosen=new Set(t.slice(Math.min(this.anchor,l),Math.max(this.anchor,l)+1).map(m=>m.name));let d=l*this.rowHeight;d<this.rows.scrollTop&&(this.rows.scrollTop=d),d+this.rowHeight>this.rows.scrollTop+this.tall&&(this.rows.scrollTop=d+this.rowHeight-this.tall)}async each(e,t={}){this.asking="";let i=[...this.chosen];for(let[o,n]of i.entries()){this.progress=`${S(e)}: ${i.length>1?`${o+1} of ${i.length}`:n}`;let l=await this.deck.run(e,{clip:n,...t});if(!l.done)break;e==="verify"&&o===i.length-1&&this.deck.tell({kind:"done",title:S(e),text:i.length>1?`All ${i.length} clips are what was recorded.`:fe(l.sentence)})}this.progress="",this.read()}async open(e){await this.deck.run("clip",{name:e})}drag(e,t){this.chosen.has(t)||(this.chosen=new Set([t])),e.dataTransfer?.setData("application/x-xp-clips",JSON.stringify([...this.chosen])),this.dispatchEvent(new CustomEvent("xp-dragclips",{bubbles:!0,composed:!0}))}updated(){let e=this.rowHeight,t=this.renderRoot.querySelector(".room");t&&cr(t,"height",`${this.sorted.length*e}px`);for(let i of this.renderRoot.querySelectorAll(".row"))cr(i,"top",`${Number(i.dataset.at)*e}px`)}follows(){return[this.contents,this.deck.state?.clip,this.deck.state?.clip_rate,this.deck.verbs]}view(){let e=this.sorted,t=this.rowHeight,i=Math.max(0,Math.floor(this.top/t)-3),o=Math.min(e.length,i+Math.ceil(this.tall/t)+7),n=Math.max(0,o-i),l=this.chosen.size>0;return a`
      <div class="tools">
        <input type="search" aria-label="Search clips" placeholder="Search ${this.clips.length} ${this.clips.length===1?"clip":"clips"}" .value=${this.search} @input=${d=>this.search=d.target.value} />
        <select aria-label="Sort" @change=${d=>this.order=d.target.value}>
          ${Object.entries(gi).map(([d,m])=>a`<option value=${d} ?selected=${d===this.order}>${m}</option>`)}
        </select>
        <button class="small" aria-label=${this.falling?"Last first":"First first"} title=${this.falling?"Last first":"First first"} @click=${()=>this.falling=!this.falling}>${this.falling?"↓":"↑"}</button>
      </div>
      <div class="rows" role=${e.length?"listbox":"region"} aria-label="Clips" aria-multiselectable=${e.length?"true":h} aria-activedescendant=${l&&this.at>=i&&this.at<o?`clip-${this.at}`:h} tabindex="0" @scroll=${this.scrolled} @keydown=${d=>this.keydown(d,e)}>
        ${this.problem?a`<p role="alert">${this.problem}</p>`:h}
        ${e.length===0&&!this.problem?a`<p class="empty">${this.search?"No clip of this name.":"No clips yet. Record one."}</p>`:h}
        ${""}
        <div class="room">${Array.from({length:n},(d,m)=>i+((m-i)%n+n)%n).map(d=>this.row(e[d],d,e))}</div>
      </div>
      <div class="foot"><span class="dim status cut" role="status">${this.progress||(this.chosen.size>1?`${this.chosen.size} chosen`:"")}</span>${this.asking&&l?this.ask():h}${this.acts(e)}</div>
    `}acts(e){let t=this.chosen.size>0,i=this.chosen.size===1,o=t&&e.filter(d=>this.chosen.has(d.name)).every(d=>d.is_protected),n=(d,m,g,p)=>this.deck.verb(d)?a`<button class="small" data-verb=${d} aria-expanded=${m.endsWith("…")?String(this.asking===d):h} title=${this.deck.verb(d)?.help??""} ?disabled=${!g} @click=${p}>${m}</button>`:h,l=d=>()=>this.asking=this.asking===d?"":d;return a`<div class="acts">
      ${n("clip","Open",i,()=>{this.open([...this.chosen][0])})}
      <button class="small" ?disabled=${!t} @click=${()=>this.dispatchEvent(new CustomEvent("xp-add",{detail:[...this.chosen],bubbles:!0,composed:!0}))}>To list</button>
      ${o?n("unprotect","Unprotect",t,()=>{this.each("unprotect")}):n("protect","Protect",t,()=>{this.each("protect")})}
      ${n("verify","Verify",t,()=>{this.each("verify")})} ${n("copy","Copy…",t,l("copy"))} ${n("rename","Rename…",i,l("rename"))} ${n("delete","Delete…",t&&!o,l("delete"))}
    </div>`}ask(){let[e]=this.chosen,t=this.chosen.size>1?`${this.chosen.size} clips`:e,i=()=>this.renderRoot.querySelector("#asked")?.value??"";switch(this.asking){case"copy":{let o=(this.deck.state?.media??[]).filter(n=>n.path!==this.deck.state?.path);return a`<form class="ask" @submit=${n=>(n.preventDefault(),void this.each("copy",{medium:i()}))}>
          <span class="cut">Copy <bdi>${t}</bdi> to</span>
          <select id="asked" aria-label="Medium">${o.map(n=>a`<option value=${n.path}>${n.label||n.path}</option>`)}</select>
          <button class="small" ?disabled=${!o.length}>Copy</button></form>`}case"rename":return a`<form class="ask" @submit=${o=>(o.preventDefault(),void this.each("rename",{name:i()}))}>
          <input id="asked" aria-label="New name of ${e}" .value=${e.replace(/[.]mov$/,"")} autocomplete="off" spellcheck="false" required />
          <button class="small">Rename</button></form>`;default:return a`<div class="ask"><span class="cut">Delete <bdi>${t}</bdi> for good?</span>
          <xp-key verb="delete" label="Hold to delete" hint="Hold to delete" hold @press=${()=>{this.each("delete")}} @toobrief=${()=>this.progress="Hold it for a second"}></xp-key></div>`}}row(e,t,i){let o=e.name===this.deck.state?.clip;return a`<div class="row ${o?"current":""}" id="clip-${t}" role="option" aria-selected=${this.chosen.has(e.name)?"true":"false"} aria-setsize=${i.length} aria-posinset=${t+1}
      data-at=${t} draggable="true" title=${e.name} @click=${n=>this.choose(n,i,t)} @dblclick=${()=>{this.open(e.name)}}
      @dragstart=${n=>this.drag(n,e.name)}>
      <xp-still path=${this.moving?"":`clips/${encodeURIComponent(e.name)}/thumbnail`}></xp-still>
      <div class="cut">
        <div class="name cut"><bdi>${e.name}</bdi></div>
        <div class="sub"><span class="narrow">${B(e.frames,this.deck.state?.clip_rate??25)}</span><span class="wide">${e.bytes?Fe(e.bytes):""}</span>${e.is_protected?a`<span>protected</span>`:h}${e.second_copy?a`<span>${e.second_copy.frames===e.frames?"also":`${e.second_copy.frames} frames`} on ${e.second_copy.path}</span>`:h}${e.grows?a`<span>● being recorded</span>`:h}${o?a`<span>on the deck</span>`:h}</div>
      </div>
      <div class="frames figure">${B(e.frames,this.deck.state?.clip_rate??25)}</div>
    </div>`}};L.styles=[w,f`
      :host { display: grid; grid-template-rows: auto minmax(0, 1fr) auto; gap: var(--gap); height: 100%; min-height: 0; }
      .tools { display: grid; grid-template-columns: minmax(0, 1fr) auto auto; gap: 0.25rem; }
      .rows { overflow-y: auto; position: relative; border-radius: var(--round); scrollbar-color: var(--edge) transparent; min-height: 8rem; }
      .room { position: relative; }
      .row { position: absolute; left: 0; right: 0; height: 3.5rem; display: grid; grid-template-columns: 5rem minmax(0, 1fr) auto; gap: 0.6rem; align-items: center; padding: 0 0.5rem 0 0.25rem; border-bottom: 1px solid var(--line); cursor: default; }
      .row[aria-selected="true"] { background: var(--lifted); }
      .row.current { box-shadow: inset 0.1875rem 0 0 var(--bright); }
      xp-still { width: 5rem; height: 2.8125rem; border-radius: 2px; }
      .name { color: var(--bright); unicode-bidi: plaintext; text-align: left; }
      .sub { font-size: 0.75rem; color: var(--dim); display: flex; gap: 0.75rem; }
      .frames { font-size: 0.875rem; }
      .narrow { display: none; }
      @media (max-width: 759px) { .narrow { display: inline; } .frames { display: none; } .sub .wide { display: none; } .row { grid-template-columns: 5rem minmax(0, 1fr); } }
      .acts, .ask { display: flex; flex-wrap: wrap; gap: 0.25rem; align-items: center; min-height: 2rem; }
      .acts button { flex: 1 1 auto; }
      .status { font-size: 0.8125rem; }
      .status:empty { display: none; }
      .foot { display: grid; gap: 0.25rem; }
      @media (max-width: 759px) { .acts { display: grid; grid-template-columns: repeat(3, 1fr); } }
      .ask { background: var(--raised); border-radius: var(--round); padding: 0.35rem 0.5rem; gap: 0.5rem; font-size: 0.875rem; }
      .ask > :first-child { flex: 1 1 8rem; min-width: 0; }
      .ask xp-key { width: 7.5rem; min-height: 2.25rem; }
      .empty { padding: 2rem 1rem; text-align: center; color: var(--dim); }
    `],c([v()],L.prototype,"clips",2),c([v()],L.prototype,"problem",2),c([v()],L.prototype,"search",2),c([v()],L.prototype,"order",2),c([v()],L.prototype,"falling",2),c([v()],L.prototype,"chosen",2),c([v()],L.prototype,"top",2),c([v()],L.prototype,"tall",2),c([v()],L.prototype,"asking",2),c([v()],L.prototype,"progress",2),c([v()],L.prototype,"moving",2),c([M(".rows")],L.prototype,"rows",2),L=c([b("xp-clips")],L);var Ee=class extends x{constructor(){super(...arguments);this.problem=""}follows(){return[this.deck.me]}view(){let{me:e}=this.deck,t=a`
      <form @submit=${this.logIn}><input name="name" aria-label="Account" placeholder="Account" autocomplete="username" /><input name="password" type="password" aria-label="Password" placeholder="Password" autocomplete="current-password" /><button>Log in</button></form>
      <form class="one" @submit=${this.use}><input name="token" type="password" aria-label="Token" placeholder="Token, from /run/xp/panel.token" autocomplete="off" /><button>Use</button></form>`;return a`
      <p>${this.told(e.name,e.role)}</p>
      ${["nobody","view"].includes(e.role)?t:a`<details><summary>Be somebody else</summary>${t}</details>`}
      ${this.problem?a`<p role="alert">${this.problem}</p>`:h}
    `}told(e,t){return t==="nobody"?"This panel shows nothing to strangers. Log in:":t==="view"?e?a`<b><bdi>${e}</bdi></b> may look. Another account, or the machine's token, lets you operate:`:"You may look. An account, or the machine's token, lets you operate:":a`<b><bdi>${e}</bdi></b> may ${t==="engineer"?"operate and change settings":"operate"}.`}field(e){return this.renderRoot.querySelector(`[name="${e}"]`)?.value??""}async logIn(e){e.preventDefault(),ze("");let t=await I("POST","login",{name:this.field("name"),password:this.field("password")});t instanceof _?this.problem=`${t.sentence} ${t.hint}`:this.become((await t.json()).token)}use(e){e.preventDefault(),this.field("token")&&this.become(this.field("token").trim())}become(e){this.problem="",ze(e),this.deck.reconnect()}};Ee.styles=[w,f`
      :host { display: grid; gap: 0.5rem; }
      form { display: grid; grid-template-columns: minmax(0, 1fr) minmax(0, 1fr) auto; gap: 0.25rem; }
      form.one { grid-template-columns: minmax(0, 1fr) auto; }
      form + form { margin-top: 0.25rem; }
      summary { min-height: 2.75rem; line-height: 2.75rem; cursor: pointer; color: var(--dim); }
      p { margin: 0; font-size: 0.9375rem; }
      [role="alert"] { padding: 0; }
    `],c([v()],Ee.prototype,"problem",2),Ee=c([b("xp-login")],Ee);var Ke=class extends x{theme(r){document.documentElement.dataset.theme=r,localStorage.setItem("xp-theme",r),this.requestUpdate()}follows(){let{state:r}=this.deck;return[r?.owner,r?.lock,r?.mode,r?.running,this.deck.verbs,this.deck.stale,this.deck.me]}view(){let{state:r}=this.deck,e=document.documentElement.dataset.theme??"dark";return a`
      <section>
        <h2>Who is in control</h2>
        <p>${this.owner()}${r?.lock?.name?a` Locked by <bdi>${r.lock.name}</bdi>: only that session moves the transport.`:h}</p>
        <div class="acts">${this.act("take_control",!!r?.owner?.name)}${this.act("release_control")}</div>
        <div class="acts">${this.act("lock",!!r?.lock?.name)}${this.act("unlock")}${this.act("remote",r?.mode!=="local")}${this.act("local",r?.mode==="local")}</div>
        ${r?.mode==="local"?a`<p class="dim">Only who sits at the machine moves the transport.</p>`:h}
      </section>
      <section>
        <h2>This session</h2>
        <xp-login .deck=${this.deck}></xp-login>
      </section>
      <section>
        <h2>Look</h2>
        <div class="acts">
          ${["dark","contrast"].map(t=>a`<button aria-pressed=${e===t?"true":"false"} @click=${()=>this.theme(t)}>${t==="dark"?"Dark":"High contrast"}</button>`)}
          <button @click=${()=>location.hash="#/kiosk"}>Picture alone</button>
          <button @click=${()=>location.assign(`${location.pathname}#/wall`)}>All recorders</button>
        </div>
      </section>
      <section>
        <h2>Keys and programs</h2>
        <div class="acts"><button @click=${()=>this.dispatchEvent(new pt(""))}>Keys and verbs</button></div>
        <p class="dim">What each verb is called over HTTP, in lines, OSC and the shell. The second button of the mouse shows it for the control under it.</p>
      </section>
      ${this.deck.verb("shut_down")?a`<section>
            <h2>The recorder</h2>
            <xp-key verb="shut_down" label="Hold to shut down" hint=${`Hold to shut down: ${this.deck.verb("shut_down")?.help??""}`} hold ?disabled=${this.deck.stale||!r?.running}
              @press=${()=>{this.deck.run("shut_down")}} @toobrief=${()=>this.deck.tell({kind:"lost",title:"Still running",text:"To shut the recorder down, hold the key for a second."})}></xp-key>
          </section>`:h}
    `}owner(){let r=this.deck.state?.owner;if(!r?.name)return"Nobody has taken control: everybody may operate.";let e=[r.front,r.address].filter(Boolean).join(", ");return a`<b><bdi>${r.name}</bdi></b>${e?` (${e})`:""} is in control.`}act(r,e){let t=this.deck.verb(r);return t?a`<button data-verb=${r} title=${t.help} aria-pressed=${e===void 0?h:String(e)} ?disabled=${this.deck.stale} @click=${()=>{this.deck.run(r)}}>${S(r)}</button>`:h}};Ke.styles=[w,f`
      :host { height: 100%; overflow-y: auto; display: grid; align-content: start; gap: 1.25rem; scrollbar-color: var(--edge) transparent; }
      section { display: grid; gap: 0.5rem; }
      .acts { display: flex; gap: 0.25rem; flex-wrap: wrap; }
      .acts + .acts { margin-top: -0.25rem; }
      .acts > * { flex: 1 1 0; white-space: nowrap; }
      p { margin: 0; font-size: 0.9375rem; }
      xp-key { min-height: 2.75rem; }
    `],Ke=c([b("xp-control")],Ke);var ee=class extends x{constructor(){super(...arguments);this.entries=[];this.problem="";this.chosen=-1;this.over=-1;this.revision="";this.known=null}willUpdate(){let e=this.deck.state?.list_revision??"";e!==this.known&&(this.known=e,this.read())}async read(){let e=await I("GET","list");if(e instanceof _){this.problem=e.sentence;return}this.revision=e.headers.get("ETag")??"",this.entries=(await e.json()).list,this.problem=""}async add(e,t=this.entries.length){let i=this.entries.map(o=>o.name);i.splice(t,0,...e),await this.write(i)}async write(e){let t=await I("PUT","list",{list:e},this.revision?{"If-Match":this.revision}:{});if(t instanceof _){let i=t.status===412;this.deck.tell({kind:"refused",title:"Play list",text:i?"Somebody else has changed the list meanwhile; here it is as it is now.":`${t.sentence} ${t.hint}`})}await this.read()}async move(e,t){if(e<0||t<0||t>this.entries.length-1||e===t)return;let i=this.entries.map(o=>o.name);i.splice(t,0,...i.splice(e,1)),this.chosen=t,await this.write(i)}drop(e,t){e.preventDefault(),e.stopPropagation(),this.over=-1;let i=e.dataTransfer?.getData("application/x-xp-clips"),o=e.dataTransfer?.getData("application/x-xp-place");i?this.add(JSON.parse(i),t):o&&this.move(Number(o),Number(o)<t?t-1:t)}hover(e,t){e.preventDefault(),e.stopPropagation(),this.over=t}keydown(e){let t={ArrowDown:1,ArrowUp:-1}[e.key];t!==void 0?(e.preventDefault(),e.stopPropagation(),e.altKey?this.move(this.chosen,this.chosen+t):this.chosen=Math.min(this.entries.length-1,Math.max(0,this.chosen+t))):e.key==="Delete"&&this.takeOut()}async takeOut(){this.chosen<0||(await this.write(this.entries.filter((e,t)=>t!==this.chosen).map(e=>e.name)),this.chosen=Math.min(this.chosen,this.entries.length-1))}follows(){return[this.deck.state?.list_revision,this.deck.state?.list_entry,this.deck.state?.playback_source,this.deck.parameters]}view(){let e=this.deck.parameters.get("playback_source"),t=this.deck.state?.playback_source??e?.value;return a`
      <div class="acts" role="group" aria-label="What is played">
        ${(e?.choices??[]).map(i=>a`<button class="small" aria-pressed=${i===t?"true":"false"} @click=${()=>{this.deck.set("playback_source",i)}}>${S(i)}</button>`)}
      </div>
      <div class="rows ${this.over===this.entries.length?"over":""}" role=${this.entries.length?"listbox":"region"} aria-label="Play list" tabindex="0" @keydown=${this.keydown}
        @dragover=${i=>this.hover(i,this.entries.length)} @dragleave=${()=>this.over=-1} @drop=${i=>this.drop(i,this.entries.length)}>
        ${this.problem?a`<p role="alert">${this.problem}</p>`:h}
        ${this.entries.length===0?a`<p class="empty">The list is empty. Drag clips here, or use “Add to list”.</p>`:h}
        ${this.entries.map((i,o)=>a`<div role="option" class="${this.over===o?"over":""} ${o===this.deck.state?.list_entry?"current":""}" aria-selected=${o===this.chosen?"true":"false"} draggable="true" title=${i.name}
            @click=${()=>this.chosen=o} @dblclick=${()=>{this.deck.run("clip",{name:i.name})}} @dragstart=${n=>n.dataTransfer?.setData("application/x-xp-place",String(o))}
            @dragover=${n=>this.hover(n,o)} @drop=${n=>this.drop(n,o)}>
            <span class="place figure">${o+1}</span><xp-still path="clips/${encodeURIComponent(ht(i.name))}/thumbnail"></xp-still><span class="name cut"><bdi>${i.name}</bdi></span>${i.present?h:a`<span class="missing">! not here</span>`}
          </div>`)}
      </div>
      <div class="acts">
        <button class="small" ?disabled=${this.chosen<1} @click=${()=>{this.move(this.chosen,this.chosen-1)}}>Up</button>
        <button class="small" ?disabled=${this.chosen<0||this.chosen>=this.entries.length-1} @click=${()=>{this.move(this.chosen,this.chosen+1)}}>Down</button>
        <button class="small" ?disabled=${this.chosen<0} @click=${()=>{this.takeOut()}}>Take out</button>
      </div>
    `}};ee.styles=[w,f`
      :host { display: grid; grid-template-rows: auto minmax(0, 1fr) auto; gap: var(--gap); height: 100%; min-height: 0; }
      .rows { overflow-y: auto; margin: 0; padding: 0; list-style: none; min-height: 8rem; border-radius: var(--round); }
      .rows.over { outline: 2px dashed var(--edge); outline-offset: -2px; }
      [role="option"] { display: grid; grid-template-columns: 2rem 4rem minmax(0, 1fr) auto; gap: 0.6rem; align-items: center; min-height: 3rem; padding: 0 0.5rem 0 0; border-bottom: 1px solid var(--line); border-top: 2px solid transparent; }
      [role="option"][aria-selected="true"] { background: var(--lifted); }
      .current { box-shadow: inset 0.1875rem 0 0 var(--bright); }
      [role="option"].over { border-top-color: var(--bright); }
      .place { color: var(--dim); text-align: right; font-size: 0.8125rem; }
      xp-still { width: 4rem; height: 2.25rem; border-radius: 2px; }
      .name { color: var(--bright); unicode-bidi: plaintext; text-align: left; }
      .missing { color: var(--amber); font-size: 0.8125rem; }
      .acts { display: flex; gap: 0.25rem; flex-wrap: wrap; }
      .empty { padding: 2rem 1rem; text-align: center; color: var(--dim); }
    `],c([v()],ee.prototype,"entries",2),c([v()],ee.prototype,"problem",2),c([v()],ee.prototype,"chosen",2),c([v()],ee.prototype,"over",2),ee=c([b("xp-list")],ee);var hr=600,Ve=class extends x{updated(){let r=this.deck.state?.media??[];this.renderRoot.querySelectorAll(".bar i").forEach((e,t)=>e.style.setProperty("transform",`scaleX(${1-(r[t]?.percent_free??0)/100})`))}follows(){return[this.deck.state?.status,this.deck.state?.media,this.deck.state?.medium_seconds_left,this.deck.parameters]}view(){let r=this.deck.state,e=r?.media??[],t=r?.medium_seconds_left??0,i=e.find(n=>n.state==="next"),o=this.deck.parameters.get("rollover_enabled")?.value!=="off";return a`
      <div class="sum"><span>${R(r)?"This take can go on for":"A take that begins now can last"}</span><span class="figure ${t>0&&t<hr?"warn":""}">${X(t)}</span></div>
      ${e.map(n=>this.medium(n))}
      ${e.length===0?a`<p role="alert">No medium: nothing can be recorded.</p>`:h}
      <p class="dim">${i&&o?a`When the active medium is full, a take goes on on <b>${i.label||i.path}</b>.`:i?a`Rollover is off: a take ends when the active medium is full. <a href="#/settings/rollover_enabled">Change it</a>`:"No medium comes next: a take ends when the active one is full."}</p>
    `}medium(r){let e=r.seconds_left>0&&r.seconds_left<hr&&r.state!=="read_only";return a`<article class=${r.state}>
      <header><b><bdi>${r.label||r.path}</bdi></b><span>${O(r.state)}</span><span class="figure ${e?"warn":""}">${X(r.seconds_left)}</span></header>
      <div class="bar ${e?"warn":""}" role="img" aria-label="${(100-r.percent_free).toFixed(0)} percent used"><i></i></div>
      <div class="sub"><span>${Fe(r.bytes_free)} free of ${Fe(r.bytes_total)}</span><span>${r.clips} clips</span><span><bdi>${r.path}</bdi></span></div>
    </article>`}};Ve.styles=[w,f`
      :host { height: 100%; overflow-y: auto; display: grid; align-content: start; gap: 0.5rem; }
      .sum { display: flex; justify-content: space-between; align-items: baseline; padding: 0.25rem 0 0.5rem; }
      .sum .figure { font-size: 1.5rem; color: var(--bright); }
      .warn, .warn.figure { color: var(--amber) !important; }
      article { background: var(--raised); border-radius: var(--round); padding: 0.75rem; display: grid; gap: 0.5rem; }
      article.active { box-shadow: inset 0.1875rem 0 0 var(--bright); }
      header { display: flex; gap: 0.75rem; align-items: baseline; }
      header b { color: var(--bright); font-size: 1.125rem; }
      header .figure { margin-left: auto; font-size: 1.125rem; color: var(--bright); }
      .bar { height: 0.5rem; background: var(--ground); position: relative; }
      .bar i { position: absolute; inset: 0; background: var(--text); transform-origin: left; }
      .bar.warn i { background: var(--amber); }
      .sub { display: flex; flex-wrap: wrap; gap: 0.25rem 1.25rem; font-size: 0.8125rem; color: var(--dim); }
    `],Ve=c([b("xp-media")],Ve);var pr=8,We=class extends Event{constructor(e,t){super("xp-strip");this.what=e;this.frame=t}},j=class extends A{constructor(){super(...arguments);this.clip="";this.frames=1;this.frame=0;this.marks={};this.disabled=!1;this.moved=null;this.scrubbing=!1;this.pictured=0}get length(){return Math.max(1,this.frames)}at(e){let t=this.strip.getBoundingClientRect();return Math.min(1,Math.max(0,(e.clientX-t.left)/t.width))*this.length}down(e){this.disabled||e.button!==0||(this.strip.setPointerCapture(e.pointerId),this.scrubbing=!0,this.move(e))}move(e){let t=this.at(e);this.moved?this.moved={what:this.moved.what,frame:this.bounded(this.moved.what,Math.round(t))}:this.scrubbing&&this.dispatchEvent(new We("cue",Math.min(this.length-1,Math.floor(t))))}up(){let{moved:e}=this;this.scrubbing=!1,this.moved=null,e&&this.dispatchEvent(new We(e.what,e.frame))}grip(e,t){e.stopPropagation(),!(this.disabled||e.button!==0)&&(this.strip.setPointerCapture(e.pointerId),this.moved={what:t,frame:this.place(t)})}place(e){return this.moved?.what===e?this.moved.frame:(e==="in"?this.marks.in?.frame:this.marks.out?.frame)??(e==="in"?0:this.length)}bounded(e,t){return e==="in"?Math.min(Math.max(0,t),this.place("out")-1):Math.max(Math.min(this.length,t),this.place("in")+1)}keydown(e,t){let i={ArrowRight:1,ArrowUp:1,ArrowLeft:-1,ArrowDown:-1}[e.key];i===void 0||this.disabled||(e.preventDefault(),e.stopPropagation(),this.dispatchEvent(new We(t,this.bounded(t,this.place(t)+i*(e.shiftKey?10:1)))))}willUpdate(){(this.frames<this.pictured||this.frames>this.pictured*1.2)&&(this.pictured=this.frames)}updated(){let e=l=>`${100*Math.min(l,this.length)/this.length}%`,t=(l,d,m="")=>{let g=this.renderRoot.querySelector(l);g?.style.setProperty("left",d),m&&g?.style.setProperty("right",m)},[i,o]=[this.place("in"),this.place("out")],n=l=>`${100-100*Math.min(l,this.length)/this.length}%`;t(".out.before","0",n(i)),t(".out.after",e(o),"0"),t(".part",e(i),n(o)),t(".end.in",e(i)),t(".end.to",e(o)),t(".head",e(this.frame+.5)),this.renderRoot.querySelectorAll(".point").forEach((l,d)=>l.style.setProperty("left",e((this.marks.points?.[d]?.frame??0)+.5)))}render(){let e=encodeURIComponent(this.clip),t=this.marks.in||this.marks.out||this.moved;return a`<div class="strip" @pointerdown=${this.down} @pointermove=${this.move} @pointerup=${this.up} @pointercancel=${this.up}>
      <div class="pictures" aria-hidden="true">
        ${this.clip&&this.frames>0?Array.from({length:pr},(i,o)=>a`<xp-still path="clips/${e}/frames/${Math.floor((o+.5)*this.pictured/pr)}"></xp-still>`):h}
      </div>
      <div class="out before"></div>
      <div class="out after"></div>
      <div class="part" ?hidden=${!t}></div>
      ${(this.marks.points??[]).map(i=>a`<div class="point" title=${i.name}></div>`)}
      ${["in","out"].map(i=>a`<div class="end ${i==="in"?"in":"to"}" role="slider" tabindex="0" data-verb="mark" aria-label=${i==="in"?"In":"Out"} aria-disabled=${this.disabled?"true":"false"}
          aria-valuemin="0" aria-valuemax=${this.length} aria-valuenow=${this.place(i)} @pointerdown=${o=>this.grip(o,i)} @keydown=${o=>this.keydown(o,i)}></div>`)}
      <div class="head" ?hidden=${this.frame<0}></div>
    </div>`}};j.styles=[w,f`
      :host { padding: 0 0.6rem; }
      .strip { position: relative; height: 4.5rem; background: var(--ground); cursor: pointer; touch-action: none; box-shadow: var(--rim); }
      .pictures { position: absolute; inset: 0; display: grid; grid-auto-flow: column; grid-auto-columns: minmax(0, 1fr); }
      xp-still { border-right: 1px solid var(--ground); --fit: cover; }
      .out { position: absolute; top: 0; bottom: 0; background: rgb(0 0 0 / 0.72); }
      .part { position: absolute; top: 0; bottom: 0; border-block: 0.1875rem solid var(--bright); pointer-events: none; }
      .end { position: absolute; top: -0.25rem; bottom: -0.25rem; width: 2.75rem; margin-left: -1.375rem; cursor: ew-resize; touch-action: none; }
      .end::after { content: ""; position: absolute; top: 0; bottom: 0; left: 50%; width: 0.5rem; background: var(--bright); border-radius: 0.125rem; }
      .end.in::after { margin-left: -0.5rem; }
      .point { position: absolute; top: 0; width: 0; border: 0.4rem solid transparent; border-top: 0.6rem solid var(--bright); margin-left: -0.4rem; pointer-events: none; filter: drop-shadow(0 0 1px #000); }
      .head { position: absolute; top: -0.25rem; bottom: -0.25rem; width: 0.125rem; margin-left: -0.0625rem; background: var(--bright); outline: 1px solid #000; pointer-events: none; }
    `],c([u()],j.prototype,"clip",2),c([u({type:Number})],j.prototype,"frames",2),c([u({type:Number})],j.prototype,"frame",2),c([u({attribute:!1})],j.prototype,"marks",2),c([u({type:Boolean})],j.prototype,"disabled",2),c([M(".strip")],j.prototype,"strip",2),c([v()],j.prototype,"moved",2),j=c([b("xp-strip")],j);var fi=[["−1×",-1],["¼×",.25],["½×",.5],["1×",1]],ne=class extends x{constructor(){super(...arguments);this.details={};this.problem="";this.angles=[];this.known="";this.wanted=null;this.cueing=!1;this.drag=e=>{e.dataTransfer?.setData("application/x-xp-clips",JSON.stringify([this.listed])),this.dispatchEvent(new CustomEvent("xp-dragclips",{bubbles:!0,composed:!0}))}}willUpdate(){let{state:e}=this.deck,t=[this.clip,e?.path,e?.status==="recording"].join(`
`);t!==this.known&&(this.known=t,this.read())}async read(){let{clip:e}=this;if(!e)return;let[t,i]=await Promise.all([N(`clips/${encodeURIComponent(e)}`),N("clips?limit=1000")]);e===this.clip&&(this.problem=t instanceof _?t.sentence:t.told??"",this.details=t instanceof _?{}:t,i instanceof _||(this.angles=i.clips.map(o=>o.name).filter(o=>o!==e)))}async run(e,t={}){await this.deck.run(e,t),(e==="mark"||e==="unmark")&&await this.read()}cue(e){this.wanted=e,!this.cueing&&(this.cueing=!0,(async()=>{for(;this.wanted!==null;){let t=String(this.wanted);this.wanted=null,(await this.deck.run("cue",{where:t})).done||(this.wanted=null)}this.cueing=!1})())}moved(e){e.what!=="cue"?this.run("mark",{what:e.what,where:String(e.frame)}):this.whole&&this.cue(e.frame)}markPoint(){let e=new Set((this.details.marks?.points??[]).map(i=>i.name)),t=1;for(;e.has(`point ${t}`);)t++;this.run("mark",{what:`point ${t}`})}async rename(e,t){let i=t.trim();!i||i===e.name||(await this.deck.run("mark",{what:i,where:String(e.frame)})).done&&await this.run("unmark",{what:e.name??""})}get clip(){return ht(this.deck.state?.clip??"")}get frames(){let{state:e}=this.deck;return this.whole&&e?.clip_frames||this.details.frames||0}get whole(){let{state:e}=this.deck;return e?.playback_source==="current_clip"&&e.clip===this.clip&&e.status!=="recording"}get listed(){let{in:e,out:t}=this.details.marks??{};return`${this.clip}[${e?.frame??0}-${t?.frame??this.frames})`}follows(){let{state:e}=this.deck;return[e?.clip,e?.frame,e?.clip_frames,e?.status,e?.live_distance,e?.grows,e?.playback_source,this.deck.stale,this.deck.verbs]}view(){let{state:e}=this.deck,t=this.details.marks??{},i=this.deck.stale||!e?.running||!e.clip,o=e?.clip_rate??25,{in:n,out:l}=t,d=!!n||!!l,m=(l?.frame??this.frames)-(n?.frame??0),g=e?.live_distance??-1;return a`
      <div class="head"><span class="cut"><bdi>${e?.clip||"No clip"}</bdi></span>
        ${e?.grows?a`<span class="dim figure">${g>=0?`${(g/o).toFixed(1)} s behind`:"being recorded"}</span>`:h}
        ${this.deck.verb("live")?a`<button data-verb="live" title=${this.deck.verb("live")?.help??""} aria-pressed=${e?.grows&&g>=0&&g<1.5*o?"true":"false"} ?disabled=${this.deck.stale||!e?.running} @click=${()=>{this.run("live")}}>Live</button>`:h}
      </div>
      <xp-strip clip=${this.clip} .frames=${this.frames} .frame=${this.whole?Math.max(0,e?.frame??0):-1} .marks=${t} ?disabled=${i} @xp-strip=${p=>this.moved(p)}></xp-strip>
      <div class="ends">
        ${this.end("in","Mark in",n,i)}
        <span><span class="label">Part</span><br /><span class="figure">${B(Math.max(0,m),o)}</span></span>
        ${this.end("out","Mark out",l,i)}
      </div>
      <div class="acts" role="group" aria-label="Replay">
        <span class="label">Replay</span>
        ${fi.map(([p,y])=>a`<button data-verb="replay" title=${this.deck.verb("replay")?.help??""} ?disabled=${i||!d} @click=${()=>{this.run("replay",{speed:y})}}>${p}<span class="hidden"> replay</span></button>`)}
        <button class="part" draggable=${d?"true":"false"} ?disabled=${i||!d} title="Drag it into the list, or press: it is added at the end" @click=${()=>this.dispatchEvent(new CustomEvent("xp-add",{detail:[this.listed],bubbles:!0,composed:!0}))} @dragstart=${this.drag}>Part to list</button>
      </div>
      <div class="rows" role="region" tabindex="0" aria-label="Points">
        ${e?.playback_source&&e.playback_source!=="current_clip"?a`<p class="dim">A list is played. Replay and live play one clip: choose <a href="#/list">Current clip</a>.</p>`:h}
        ${this.problem?a`<p role="alert">${this.problem}</p>`:h}
        ${(t.points??[]).map(p=>this.point(p,i))}
        ${t.points?.length?h:a`<p class="empty">No points. Key M marks the frame that is shown; I and O mark where the part begins and ends.</p>`}
      </div>
      <div class="angle">
        <button data-verb="mark" ?disabled=${i} @click=${()=>this.markPoint()}>Mark point</button>
        <select id="angle" aria-label="Other clip" ?disabled=${!this.angles.length}>${this.angles.map(p=>a`<option value=${p}>${p}</option>`)}</select>
        <button data-verb="angle" title=${this.deck.verb("angle")?.help??""} ?disabled=${i||!this.angles.length} @click=${()=>{this.run("angle",{clip:this.renderRoot.querySelector("#angle")?.value??""})}}>Same moment there</button>
      </div>
    `}end(e,t,i,o){return a`<button data-verb="mark" ?disabled=${o} aria-label=${t} @click=${()=>{this.run("mark",{what:e})}} @dblclick=${()=>{this.run("unmark",{what:e})}}>
      <span class="figure">${i?.timecode||(i?`Frame ${i.frame}`:"-")}</span><span class="label">${t} (${e==="in"?"I":"O"})</span></button>`}point(e,t){let i=e.name??"";return a`<div class="row">
      <button class="figure" data-verb="cue" title="Go there" ?disabled=${t} @click=${()=>this.cue(e.frame)}>${e.timecode||e.frame}</button>
      <input aria-label="Name of the point at ${e.timecode}" .value=${i} maxlength="80" @change=${o=>{this.rename(e,o.target.value)}} />
      <button class="small" data-verb="unmark" aria-label="Remove ${i}" ?disabled=${t} @click=${()=>{this.run("unmark",{what:i})}}>✕</button>
    </div>`}};ne.styles=[w,f`
      :host { display: grid; grid-template-columns: minmax(0, 1fr); grid-template-rows: auto auto auto auto minmax(0, 1fr) auto; gap: 0.6rem; height: 100%; min-height: 0; }
      .head, .ends, .acts, .angle { display: flex; gap: 0.25rem; align-items: center; }
      .head .cut { flex: 1; color: var(--bright); unicode-bidi: plaintext; text-align: left; }
      .ends { display: grid; grid-template-columns: minmax(0, 1fr) auto minmax(0, 1fr); gap: 0.5rem; }
      .ends button { padding: 0; display: grid; justify-items: center; align-content: center; gap: 0.1rem; line-height: 1.1; min-height: 3rem; }
      .ends span { text-align: center; }
      .acts > * { flex: 1 1 0; padding: 0 0.25rem; white-space: nowrap; }
      .acts .label { flex: 0 0 auto; padding-right: 0.35rem; }
      .part { cursor: grab; border-style: dashed; }
      .rows { overflow-y: auto; scrollbar-color: var(--edge) transparent; min-height: 4rem; }
      .row { display: grid; grid-template-columns: auto minmax(0, 1fr) auto; gap: 0.5rem; align-items: center; padding: 0.2rem 0; border-bottom: 1px solid var(--line); }
      .angle select { flex: 1 1 6rem; min-height: 2.75rem; }
      @media (max-width: 759px) { .acts, .angle { flex-wrap: wrap; } .acts .part, .angle :first-child { flex-basis: 100%; } }
      p { margin: 0; font-size: 0.875rem; }
      .empty { padding: 0.75rem 0; color: var(--dim); }
    `],c([v()],ne.prototype,"details",2),c([v()],ne.prototype,"problem",2),c([v()],ne.prototype,"angles",2),ne=c([b("xp-replay")],ne);var mt={waveform:"Waveform, per cent",parade:"Parade: red, green, blue",vectorscope:"Vectorscope, 75 %"},vi=1,mr=64,bi=940,gr=1024;function fr(s){let r=new DataView(s);if(s.byteLength<16||r.getUint16(0,!0)!==vi)return null;let[e,t,i]=[2,4,6].map(l=>r.getUint16(l,!0));if(s.byteLength!==16+i*(e+3*t+i))return null;let o=16,n=l=>{let d=new Uint8Array(s,o,l*i);return o+=l*i,{columns:l,rows:i,values:d}};return{waveform:n(e),parade:n(3*t),vectorscope:n(i)}}var wi=[.8,.9,.85],yi=[[1,.32,.28],[.3,.95,.4],[.38,.55,1]];function $i(s,r){let e=(s-.5)*1.8556,t=(.5-r)*1.5748;return[.75+t*.9,.75-.1873*e-.4681*t,.75+e*.9].map(o=>Math.min(1,Math.max(.3,o)))}var ur=new Map;function vr(s,r){let e=ur.get(s);(e?.width!==r.columns||e.height!==r.rows)&&ur.set(s,e=new OffscreenCanvas(r.columns,r.rows));let t=e.getContext("2d"),i=new ImageData(r.columns,r.rows);for(let o=0;o<r.values.length;++o){let n=r.values[o];if(!n)continue;let l=o%r.columns,d=s==="parade"?yi[Math.floor(l*3/r.columns)]:s==="vectorscope"?$i(l/r.columns,o/r.columns/r.rows):wi,m=70+n*.72;i.data.set([d[0]*m,d[1]*m,d[2]*m,255],4*o)}return t?.putImageData(i,0,0),e}var ki=[["R",1,0,0],["Yl",1,1,0],["G",0,1,0],["Cy",0,1,1],["B",0,0,1],["Mg",1,0,1]].map(([s,r,e,t])=>{let i=.2126*r+.7152*e+.0722*t,o=(n,l)=>(512+.75*896*(n-i)/l)/gr;return{name:s,x:o(t,1.8556),y:1-o(r,1.5748)}});function br(s,r){let e=devicePixelRatio,t=s.clientWidth,i=s.clientHeight;if(!t||!i)return;(s.width!==Math.round(t*e)||s.height!==Math.round(i*e))&&([s.width,s.height]=[Math.round(t*e),Math.round(i*e)]);let o=s.getContext("2d");if(!o)return;let n=getComputedStyle(s),l=.6875*parseFloat(getComputedStyle(document.documentElement).fontSize);o.setTransform(e,0,0,e,0,0),o.clearRect(0,0,t,i),o.font=`${l}px ${n.fontFamily}`,o.fillStyle=o.strokeStyle="#a5adb5",o.textBaseline="middle",r==="vectorscope"?_i(o,t,i,l):xi(o,t,i,l,r==="parade")}function xi(s,r,e,t,i){for(let o of[0,25,50,75,100]){let n=(1-(mr+(bi-mr)*o/100)/gr)*e;s.globalAlpha=o%100===0?.6:.28,s.fillRect(0,n,r,1),s.globalAlpha=1;let l=String(o),d=o===100?n-.65*t:n+.75*t;(!i||o%100===0)&&s.fillText(l,4,o===0?Math.min(d,e-.6*t):d)}if(i){s.globalAlpha=.4;for(let o of[1,2])s.fillRect(r*o/3,0,1,e);s.globalAlpha=1}}function _i(s,r,e,t){let i=Math.min(r,e),[o,n]=[(r-i)/2,(e-i)/2],[l,d]=[o+i/2,n+i/2];s.lineWidth=1,s.globalAlpha=.4,s.beginPath(),s.arc(l,d,i*.4375,0,2*Math.PI),s.moveTo(l,n+i*.04),s.lineTo(l,n+i*.96),s.moveTo(o+i*.04,d),s.lineTo(o+i*.96,d),s.stroke();let m=Math.max(5,i*.028);s.textAlign="center";for(let g of ki){let[p,y]=[o+g.x*i,n+g.y*i];s.globalAlpha=.8,s.strokeRect(p-m,y-m,2*m,2*m),s.globalAlpha=1;let k=(m+.9*t)/Math.hypot(g.x-.5,g.y-.5);s.fillText(g.name,p+(.5-g.x)*k,y+(.5-g.y)*k)}}var Ei=160,ae=class extends x{constructor(){super(...arguments);this.only="";this.problem="";this.live=!1;this.timer=0;this.observer=new ResizeObserver(()=>this.grids());this.looking=!1}connectedCallback(){super.connectedCallback(),this.timer=window.setInterval(()=>{this.look()},Ei)}disconnectedCallback(){super.disconnectedCallback(),clearInterval(this.timer),this.observer.disconnect()}async look(){if(this.looking||document.hidden)return;this.looking=!0;let e=await I("GET","scopes");if(e instanceof _)this.problem=e.sentence;else if(e.status===200){let t=fr(await e.arrayBuffer());if(this.problem=t?"":"The scopes cannot be read.",t)for(let i of this.kinds)this.paint(i,t[i])}this.live=!this.problem,this.looking=!1}get kinds(){let e=Object.keys(mt);return e.includes(this.only)?[this.only]:e}paint(e,t){let i=this.renderRoot.querySelector(`#${e}`),o=i?.getContext("2d",{alpha:!1});if(!i||!o)return;let n=[i.clientWidth,i.clientHeight].map(g=>Math.max(1,Math.round(g*devicePixelRatio)));(i.width!==n[0]||i.height!==n[1])&&([i.width,i.height]=n),o.globalCompositeOperation="source-over",o.fillStyle="#000",o.fillRect(0,0,n[0],n[1]),o.globalCompositeOperation="lighter";let l=vr(e,t),d=.6*devicePixelRatio,m=e==="vectorscope"?[[-d,-d],[d,-d],[-d,d],[d,d],[0,0]]:[[0,-d],[0,0],[0,d]];for(let[g,p]of m)o.drawImage(l,g,p,n[0],n[1])}grids(){for(let e of this.renderRoot.querySelectorAll("canvas.grid"))br(e,e.dataset.kind)}updated(){for(let e of this.renderRoot.querySelectorAll(".tile"))this.observer.observe(e);this.grids()}follows(){return[this.deck.frozen>0]}view(){let e=!this.live||this.deck.frozen>0;return a`<div class="all ${this.kinds.length===1?"one":""} ${e?"idle":""}">
      ${this.kinds.map(t=>a`<figure>
          <figcaption><a href=${this.only===t?"#/scopes":`#/scopes/${t}`}>${mt[t]} <span aria-hidden="true">${this.only===t?"−":"+"}</span><span class="hidden">${this.only===t?", show all scopes":", larger"}</span></a></figcaption>
          <div class="tile ${t==="vectorscope"?"square":""}"><canvas id=${t} role="img" aria-label=${mt[t]}></canvas><canvas class="grid" data-kind=${t} aria-hidden="true"></canvas></div>
        </figure>`)}
      ${this.problem?a`<p role="alert">${this.problem}</p>`:h}
    </div>`}};ae.styles=[w,f`
      :host { height: 100%; }
      .all { height: 100%; display: grid; grid-template: minmax(0, 1.05fr) minmax(0, 1fr) / minmax(0, 1fr) auto; gap: 0.5rem; }
      .all.one { grid-template: minmax(0, 1fr) / minmax(0, 1fr); }
      figure { margin: 0; display: grid; grid-template-rows: auto minmax(0, 1fr); gap: 0.2rem; min-height: 0; min-width: 0; }
      .all:not(.one) figure:first-of-type { grid-column: 1 / -1; }
      figcaption a { font-size: 0.75rem; color: var(--dim); text-decoration: none; display: block; min-height: 1.5rem; line-height: 1.5rem; }
      .tile { position: relative; background: #000; min-height: 0; overflow: hidden; border-radius: 2px; }
      .square { height: 100%; aspect-ratio: 1; max-width: 100%; justify-self: center; }
      canvas { position: absolute; inset: 0; width: 100%; height: 100%; }
      .idle canvas:not(.grid) { opacity: 0.25; }
      p { grid-column: 1 / -1; }
      @media (max-width: 759px) {
        .all, .all.one { grid-template: repeat(3, auto) / minmax(0, 1fr); height: auto; max-height: 100%; overflow-y: auto; }
        .tile { height: 12rem; }
        .square { height: auto; width: 100%; }
      }
    `],c([u()],ae.prototype,"only",2),c([v()],ae.prototype,"problem",2),c([v()],ae.prototype,"live",2),ae=c([b("xp-scopes")],ae);var te={ATTRIBUTE:1,CHILD:2,PROPERTY:3,BOOLEAN_ATTRIBUTE:4,EVENT:5,ELEMENT:6},ut=s=>(...r)=>({_$litDirective$:s,values:r}),Ae=class{constructor(r){}get _$AU(){return this._$AM._$AU}_$AT(r,e,t){this._$Ct=r,this._$AM=e,this._$Ci=t}_$AS(r,e){return this.update(r,e)}update(r,e){return this.render(...e)}};var{I:Ai}=Xt,wr=s=>s;var $r=s=>s.strings===void 0,yr=()=>document.createComment(""),Me=(s,r,e)=>{let t=s._$AA.parentNode,i=r===void 0?s._$AB:r._$AA;if(e===void 0){let o=t.insertBefore(yr(),i),n=t.insertBefore(yr(),i);e=new Ai(o,n,s,s.options)}else{let o=e._$AB.nextSibling,n=e._$AM,l=n!==s;if(l){let d;e._$AQ?.(s),e._$AM=s,e._$AP!==void 0&&(d=s._$AU)!==n._$AU&&e._$AP(d)}if(o!==i||l){let d=e._$AA;for(;d!==o;){let m=wr(d).nextSibling;wr(t).insertBefore(d,i),d=m}}}return e},le=(s,r,e=s)=>(s._$AI(r,e),s),Mi={},gt=(s,r=Mi)=>s._$AH=r,kr=s=>s._$AH,ft=s=>{s._$AR(),s._$AA.remove()};var vt=ut(class extends Ae{constructor(s){if(super(s),s.type!==te.PROPERTY&&s.type!==te.ATTRIBUTE&&s.type!==te.BOOLEAN_ATTRIBUTE)throw Error("The `live` directive is not allowed on child or event bindings");if(!$r(s))throw Error("`live` bindings can only contain a single expression")}render(s){return s}update(s,[r]){if(r===H||r===h)return r;let e=s.element,t=s.name;if(s.type===te.PROPERTY){if(r===e[t])return H}else if(s.type===te.BOOLEAN_ATTRIBUTE){if(!!r===e.hasAttribute(t))return H}else if(s.type===te.ATTRIBUTE&&e.getAttribute(t)===r+"")return H;return gt(s),r}});var xr=s=>s.keep==="always"&&s.value!==s.default,re=class extends x{constructor(){super(...arguments);this.target="";this.search="";this.changedOnly=!1;this.text=null;this.arrived=!1}connectedCallback(){super.connectedCallback(),this.deck.readParameters()}get rows(){let e=this.search.trim().toLowerCase();return[...this.deck.parameters.values()].filter(t=>!t.told&&t.keep!=="command"&&(!this.changedOnly||xr(t))&&(!e||`${t.name} ${O(t.name)} ${t.help}`.toLowerCase().includes(e)))}updated(e){e.has("target")&&(this.arrived=!1);let t=this.arrived?null:this.renderRoot.querySelector(".target");t&&(t.scrollIntoView({block:"center"}),this.arrived=!0)}async write(e,t){await this.deck.set(e.name,t),await this.deck.readParameters()}async apply(){for(let e of(this.text??"").split(`
`)){let t=/^\s*([a-z0-9_]+)\s*=\s?(.*)$/.exec(e);if(!(!t||this.deck.parameters.get(t[1])?.value===t[2])&&!(await this.deck.set(t[1],t[2])).done)return}this.text=null,await this.deck.readParameters()}follows(){return[this.deck.parameters]}view(){let e=this.rows;return a`
      <div class="tools">
        <input type="search" aria-label="Search settings" placeholder="Search settings" .value=${this.search} @input=${t=>this.search=t.target.value} />
        <label><input type="checkbox" .checked=${this.changedOnly} @change=${t=>this.changedOnly=t.target.checked} />Changed</label>
      </div>
      ${this.text===null?a`<div class="rows" role="region" tabindex="0" aria-label="Settings">${e.map(t=>this.row(t))}${e.length?h:a`<p class="dim">No setting of this kind.</p>`}</div>`:a`<textarea aria-label="Settings as text" spellcheck="false" .value=${this.text} @input=${t=>this.text=t.target.value}></textarea>`}
      <div class="acts">
        ${this.text===null?a`<button class="small" @click=${()=>this.text=e.map(t=>`${t.name} = ${t.value}`).join(`
`)}>As text</button>`:a`<button class="small" @click=${()=>{this.apply()}}>Set all of these</button><button class="small" @click=${()=>this.text=null}>Leave</button>`}
      </div>
    `}row(e){let t=xr(e);return a`<div class="row ${e.name===this.target?"target":""}" id=${e.name}>
      <div class="name" title=${e.name}>${S(e.name)}${e.unit?a` <span class="dim">(${e.unit})</span>`:h}</div>
      ${this.field(e)}
      <div class="help">${e.help}
        ${t?a`<span class="differs">Default: ${O(e.default)||"empty"}.<button @click=${()=>{this.write(e,e.default)}}>Set to default</button></span>`:h}
      </div>
    </div>`}field(e){let t=i=>{this.write(e,i.target.value)};return e.choices?.length?a`<select aria-label=${O(e.name)} .value=${vt(e.value)} @change=${t}>${e.choices.map(i=>a`<option value=${i} ?selected=${i===e.value}>${O(i)}</option>`)}</select>`:e.minimum!==void 0?a`<input type="number" aria-label=${O(e.name)} min=${e.minimum} max=${e.maximum??h} .value=${vt(e.value)} @change=${t} />`:a`<input type="text" aria-label=${O(e.name)} spellcheck="false" .value=${vt(e.value)} @change=${t} />`}};re.styles=[w,f`
      :host { display: grid; grid-template-rows: auto minmax(0, 1fr) auto; gap: var(--gap); height: 100%; min-height: 0; }
      .tools { display: grid; grid-template-columns: minmax(0, 1fr) auto; gap: 0.5rem; align-items: center; }
      label { font-size: 0.8125rem; display: flex; gap: 0.4rem; align-items: center; min-height: 2.25rem; }
      input[type="checkbox"] { width: 1.1rem; height: 1.1rem; min-height: 0; accent-color: var(--text); }
      .rows { overflow-y: auto; scrollbar-color: var(--edge) transparent; min-height: 8rem; }
      .row { display: grid; grid-template-columns: minmax(0, 1fr) 11rem; gap: 0.1rem 0.75rem; padding: 0.5rem 0.25rem; border-bottom: 1px solid var(--line); align-items: center; }
      .row.target { background: var(--lifted); }
      .row .name { color: var(--bright); }
      .row .help { grid-column: 1 / -1; font-size: 0.75rem; color: var(--dim); }
      .row select, .row input { width: 100%; }
      .differs { font-size: 0.75rem; color: var(--text); }
      .differs button { min-height: 1.5rem; padding: 0 0.4rem; font-size: 0.75rem; margin-left: 0.4rem; }
      textarea { width: 100%; height: 100%; resize: none; font-family: ui-monospace, monospace; font-size: 0.8125rem; padding: 0.5rem; }
      .acts { display: flex; gap: 0.25rem; flex-wrap: wrap; }
    `],c([u()],re.prototype,"target",2),c([v()],re.prototype,"search",2),c([v()],re.prototype,"changedOnly",2),c([v()],re.prototype,"text",2),re=c([b("xp-settings")],re);var Se=["clips","list","replay","media","scopes","settings","alarms","control"],ie=class extends x{constructor(){super(...arguments);this.chosen="clips";this.detail="";this.moved=()=>{let[e,...t]=location.hash.replace(/^#\//,"").split("/");Se.includes(e)&&(this.chosen=e,this.detail=decodeURIComponent(t.join("/")))}}connectedCallback(){super.connectedCallback(),addEventListener("hashchange",this.moved),this.addEventListener("xp-add",e=>{this.add(e.detail)}),this.addEventListener("xp-dragclips",()=>this.dragged()),this.moved()}disconnectedCallback(){super.disconnectedCallback(),removeEventListener("hashchange",this.moved)}go(e){location.hash=`#/${e}`}turn(e){this.go(Se[(Se.indexOf(this.chosen)+e+Se.length)%Se.length])}mark(){this.go("replay"),this.chosen="replay",this.updateComplete.then(()=>this.replay?.markPoint())}async add(e){this.go("list"),this.chosen="list",await this.updateComplete,await this.list?.read(),await this.list?.add(e)}dragged(){this.renderRoot.querySelector("#tab-list")?.addEventListener("dragenter",()=>this.go("list"),{once:!0})}keydown(e){let t={ArrowRight:1,ArrowLeft:-1}[e.key];t!==void 0&&(e.preventDefault(),e.stopPropagation(),this.turn(t),this.updateComplete.then(()=>this.renderRoot.querySelector('[aria-selected="true"]')?.focus()))}follows(){return[this.deck.state?.alarms,this.deck.verbs]}view(){let e=this.deck.state?.alarms??0;return a`<div class="whole">
      <button class="close" @click=${()=>this.dispatchEvent(new Event("xp-close"))}>Back to the deck</button>
      <div class="tabs" role="tablist" aria-label="Views" @keydown=${this.keydown}>
        ${Se.map(t=>a`<button role="tab" id="tab-${t}" aria-controls="body" aria-selected=${t===this.chosen?"true":"false"} tabindex=${t===this.chosen?0:-1} class=${t==="alarms"&&e?"up":""} @click=${()=>this.go(t)}>
            ${t.charAt(0).toUpperCase()+t.slice(1)}${t==="alarms"&&e?a` <b>! ${e}</b>`:h}
          </button>`)}
      </div>
      <div class="body" id="body" role="tabpanel" aria-labelledby="tab-${this.chosen}">${this.body()}</div>
    </div>`}body(){let{deck:e}=this;switch(this.chosen){case"clips":return a`<xp-clips .deck=${e}></xp-clips>`;case"list":return a`<xp-list .deck=${e}></xp-list>`;case"replay":return a`<xp-replay .deck=${e}></xp-replay>`;case"media":return a`<xp-media .deck=${e}></xp-media>`;case"scopes":return a`<xp-scopes .deck=${e} only=${this.detail}></xp-scopes>`;case"settings":return a`<xp-settings .deck=${e} target=${this.detail}></xp-settings>`;case"alarms":return a`<xp-alarms .deck=${e}></xp-alarms>`;case"control":return a`<xp-control .deck=${e}></xp-control>`}}};ie.styles=[w,f`
      :host { background: var(--panel); box-shadow: var(--rim); border-radius: var(--round); }
      .whole { display: grid; grid-template-rows: auto minmax(0, 1fr); height: 100%; }
      .tabs { display: grid; grid-auto-flow: column; grid-auto-columns: minmax(0, auto); border-bottom: 1px solid var(--line); }
      .tabs button { border: 0; background: transparent; padding: 0 0.2rem; border-radius: 0; font-size: 0.8125rem; border-bottom: 0.1875rem solid transparent; color: var(--dim); }
      .tabs button[aria-selected="true"] { color: var(--bright); border-bottom-color: var(--bright); }
      .tabs .up { color: var(--amber); }
      .body { padding: 0.75rem; min-height: 0; overflow: hidden; }
      .close { display: none; }
      @media (max-width: 1099px) {
        :host { border-radius: 0; }
        .whole { grid-template-rows: auto auto minmax(0, 1fr); }
        .tabs { grid-auto-flow: row; grid-template-columns: repeat(4, 1fr); }
        .close { display: block; width: 100%; min-height: 3rem; border-radius: 0; }
      }
    `],c([v()],ie.prototype,"chosen",2),c([v()],ie.prototype,"detail",2),c([M("xp-list")],ie.prototype,"list",2),c([M("xp-replay")],ie.prototype,"replay",2),ie=c([b("xp-column")],ie);var Ct=60,bt=4,V=class extends A{constructor(){super(...arguments);this.label="";this.unit="";this.value=null;this.warnAbove=1/0;this.past=[];this.timer=0}connectedCallback(){super.connectedCallback(),this.timer=window.setInterval(()=>this.sample(),1e3/bt)}disconnectedCallback(){super.disconnectedCallback(),clearInterval(this.timer)}sample(){this.past.push(this.deck.stale?null:this.value),this.past.length>Ct*bt&&this.past.shift(),this.draw()}draw(){let e=this.canvas?.getContext("2d");if(!e||!this.clientWidth)return;let t=window.devicePixelRatio,i=Math.round(this.clientWidth*t),o=Math.round(this.clientHeight*t);(this.canvas.width!==i||this.canvas.height!==o)&&([this.canvas.width,this.canvas.height]=[i,o]);let n=getComputedStyle(this);e.clearRect(0,0,i,o);let l=Number.isFinite(this.warnAbove)?this.warnAbove*1.25:1,d=Math.max(l,...this.past.map(p=>p??0)),m=i/(Ct*bt),g=Ct*bt-this.past.length;this.past.forEach((p,y)=>{if(p===null)return;let k=Math.max(t,p/d*(o-2*t));e.fillStyle=n.getPropertyValue(p>this.warnAbove?"--amber":"--edge"),e.globalAlpha=p>this.warnAbove?.45:.35,e.fillRect((g+y)*m,o-k,Math.ceil(m),k)}),e.globalAlpha=1}render(){let e=(this.value??0)>this.warnAbove,t=this.value===null?"-":this.value>=100||Number.isInteger(this.value)?this.value.toFixed(0):this.value.toFixed(1);return a`<canvas aria-hidden="true"></canvas>
      <div class="over ${e?"warn":""}"><div class="label">${this.label}</div><div class="figure">${e?"! ":""}${t} <small>${this.unit}</small></div></div>`}};V.styles=[w,f`
      :host { display: block; position: relative; min-width: 0; }
      canvas { position: absolute; inset: 0; width: 100%; height: 100%; }
      .over { position: relative; padding: 0.35rem 0.75rem; display: grid; gap: 0.1rem; align-content: center; height: 100%; white-space: nowrap; pointer-events: none; }
      .figure { font-size: 0.9375rem; line-height: 1.1; color: var(--bright); }
      .warn .figure, .warn .label { color: var(--amber); }
      small { font-weight: 400; font-size: 0.6875rem; color: var(--dim); }
    `],c([u()],V.prototype,"label",2),c([u()],V.prototype,"unit",2),c([u({attribute:!1})],V.prototype,"value",2),c([u({attribute:!1})],V.prototype,"warnAbove",2),c([u({attribute:!1})],V.prototype,"deck",2),c([M("canvas")],V.prototype,"canvas",2),V=c([b("xp-chart")],V);var Pe=class extends x{constructor(){super(...arguments);this.delay=null}cell(e,t,i=!1,o=""){return a`<div class="cell ${i?"warn":""} ${o}"><div class="label">${e}</div><div class="figure">${i?"! ":h}${t}</div></div>`}view(){let{state:e,counters:t,frozen:i}=this.deck,o=!!e&&e.medium_seconds_left>0&&e.medium_seconds_left<600,n=(e?.dropped_capture??0)+(e?.dropped_playback??0),l=e?.owner?.name;return a`<div class="strip" role="group" aria-label="Health">
      ${i?this.cell("Lens to screen",`${(i/1e3).toFixed(1)} s ago`,!0):this.cell("Lens to screen",this.delay===null?"-":`${Math.round(this.delay)} ms`,(this.delay??0)>250)}
      ${this.cell("Room",e?X(e.medium_seconds_left):"-",o)}
      ${this.cell("Lost frames",n,n>0)}
      <xp-chart label="Writer queue" unit="frames" .value=${t.writer_queue??null} .warnAbove=${24} .deck=${this.deck}></xp-chart>
      <xp-chart label="Write latency p99" unit="ms" .value=${t.write_latency_p99===void 0?null:t.write_latency_p99/1e3} .warnAbove=${250} .deck=${this.deck}></xp-chart>
      <xp-chart class="optional" label="Frames lost" unit="" .value=${e?n:null} .warnAbove=${.5} .deck=${this.deck}></xp-chart>
      ${this.cell("In control",l?a`<bdi>${l}</bdi>`:"everybody")}
    </div>`}};Pe.styles=[w,f`
      :host { background: var(--panel); box-shadow: var(--rim); border-radius: var(--round); min-width: 0; }
      .strip { display: flex; height: 100%; align-items: stretch; overflow: hidden; }
      .cell { padding: 0.35rem 0.75rem; display: grid; align-content: center; gap: 0.1rem; border-right: 1px solid var(--line); min-width: 0; white-space: nowrap; }
      .cell:last-child { border-right: 0; margin-left: auto; }
      .figure { font-size: 0.9375rem; line-height: 1.1; color: var(--bright); }
      .warn .figure, .warn .label { color: var(--amber); }
      xp-chart { flex: 1 1 8rem; min-width: 6.5rem; border-right: 1px solid var(--line); }
      @media (max-width: 1100px) { .optional { display: none; } }
      @media (max-width: 1099px) {
        .strip { display: grid; grid-template-columns: 1fr 1fr; height: auto; }
        .cell, .cell:last-child { border: 0; margin: 0; overflow: hidden; }
        xp-chart { border: 0; height: 3rem; }
      }
    `],c([u({attribute:!1})],Pe.prototype,"delay",2),Pe=c([b("xp-health")],Pe);var _r=[{keys:"R",verb:"record",text:""},{keys:"S",verb:"stop",text:"; in a take hold it for a second"},{keys:"L",verb:"play",text:"; again: twice as fast"},{keys:"J",verb:"play",text:", backwards; again: twice as fast"},{keys:"K",verb:"still",text:""},{keys:"K + L, K + J",verb:"play",text:", at a quarter of the speed"},{keys:"Space",verb:"still",text:", or play on"},{keys:"← →",verb:"step",text:": one"},{keys:"Shift ← →",verb:"step",text:": ten"},{keys:"Home, End",verb:"cue",text:": the first, the last"},{keys:"C",verb:"cue",text:": type where"},{keys:"[ ]",verb:"prev",text:", or to the next"},{keys:"I, O",verb:"mark",text:": in, out"},{keys:"P",verb:"replay",text:""},{keys:"V",verb:"live",text:""},{keys:"M",verb:"",text:"mark the frame that is shown"},{keys:"F",verb:"",text:"picture and timecode alone, and back"},{keys:"?",verb:"",text:"all keys and verbs; on a control: its verb"}],Si=.25;function Er(s,r){let e=new Set,t=()=>s.state&&s.state.status!=="stopped"?s.state.speed:0,i=0,o=$=>{if(e.has("k"))return s.speed($*Si);let E=Math.sign(i)===$?i:t(),z=Math.sign(E)===$&&Math.abs(E)>=1?Math.min(64,Math.abs(E)*2):1;i=$*z,s.speed(i)},n=()=>{i=0,s.speed(0)},l=($,E={})=>{s.verb($)&&s.run($,E)},d=$=>{s.run("cue",{where:String(Math.max(0,$))})},m={r:()=>{s.run("record")},s:()=>r.holdStop(),l:()=>o(1),j:()=>o(-1),k:n," ":()=>R(s.state)?r.holdStop():t()!==0?n():o(1),arrowleft:$=>s.steps($.shiftKey?-10:-1),arrowright:$=>s.steps($.shiftKey?10:1),home:()=>d(0),end:()=>d((s.state?.clip_frames??1)-1),"[":()=>{s.run("prev")},"]":()=>{s.run("next")},c:()=>r.focusTimecode(),m:()=>r.mark(),i:()=>l("mark",{what:"in"}),o:()=>l("mark",{what:"out"}),p:()=>l("replay"),v:()=>l("live"),f:()=>r.kiosk(),"?":$=>r.help($)},g=new Set(["arrowleft","arrowright"]),p=$=>{let E=$.composedPath()[0];return E instanceof HTMLInputElement||E instanceof HTMLTextAreaElement||E instanceof HTMLSelectElement},y=$=>{if($.ctrlKey||$.metaKey||$.altKey||p($))return;let E=$.key.toLowerCase(),z=m[E];z&&($.preventDefault(),!($.repeat&&!g.has(E))&&(e.add(E),z($)))},k=$=>{let E=$.key.toLowerCase();e.delete(E),(E==="s"||E===" ")&&r.releaseStop(),(E==="j"||E==="l")&&e.has("k")&&n()},P=()=>{e.clear(),r.releaseStop()};return window.addEventListener("keydown",y),window.addEventListener("keyup",k),window.addEventListener("blur",P),()=>{window.removeEventListener("keydown",y),window.removeEventListener("keyup",k),window.removeEventListener("blur",P)}}var Ar={http:"HTTP",line:"Line",osc:"OSC",shell:"Shell"},se=class extends x{constructor(){super(...arguments);this.values={};this.told="";this.copied=""}willUpdate(e){e.has("verb")&&(this.values={},this.told=this.copied="")}follows(){return[this.deck.stale,this.deck.state?.media,this.deck.state?.alarm_list,this.deck.pending]}view(){let{verb:e}=this,t=e.arguments.some(o=>o.required&&!this.values[o.name]),i=ar(e.name);return a`
      ${e.arguments.map(o=>a`<p class="dim">${S(o.name)}: ${o.help}</p>`)}
      <form @submit=${o=>o.preventDefault()}>
        ${e.arguments.map(o=>a`<label>${S(o.name)}${o.unit?` (${o.unit})`:""}${this.field(o)}</label>`)}
        <xp-key verb=${e.name} label=${i?`Hold to ${O(e.name)}`:S(e.name)} ?hold=${i} ?pending=${this.deck.pending.has(e.name)} ?disabled=${t||this.deck.stale}
          @press=${()=>{this.run()}} @toobrief=${()=>this.told="Hold the key for a second."}></xp-key>
        <output>${this.told}</output>
      </form>
      ${Object.entries(e.forms).map(([o,n])=>a`<div class="form"><span class="dim">${Ar[o]??o}</span><code tabindex="0">${this.filled(o,n)}</code>
          <button class="small" aria-label="Copy the ${Ar[o]??o} form of ${O(e.name)}" @click=${l=>this.copy(l,o)}>${this.copied===o?"Copied":"Copy"}</button></div>`)}`}field(e){let t=n=>{this.values={...this.values,[e.name]:n.target.value}},i=this.values[e.name]??"",o=this.choices(e);return o.length?a`<select @change=${t}>${["",...o].map(n=>a`<option value=${n} ?selected=${n===i}>${n}</option>`)}</select>`:e.minimum!==void 0?a`<input type="number" min=${e.minimum} max=${e.maximum??h} step=${e.type==="integer"?1:"any"} .value=${i} @input=${t} />`:a`<input type="text" autocomplete="off" spellcheck="false" maxlength="4096" .value=${i} @input=${t} />`}choices(e){let t=this.deck.state;return e.choices?e.choices:e.type==="medium"?(t?.media??[]).map(i=>i.label||i.path):e.name==="alarm"?(t?.alarm_list??[]).map(i=>i.name):[]}async run(){this.told="";let e=Object.fromEntries(Object.entries(this.values).filter(([,i])=>i!=="")),t=await this.deck.run(this.verb.name,e);this.told=t.done?"Done.":ct(t)}filled(e,t){let i=t;for(let[o,n]of Object.entries(this.values)){if(n==="")continue;let l=e==="http"?encodeURIComponent(n):e==="shell"&&/[^\w.:+,/-]/.test(n)?`'${n.replaceAll("'","'\\''")}'`:n;i=i.replace(new RegExp(`\\[?\\b${o.toUpperCase()}\\b\\]?`),()=>l)}return i}copy(e,t){let i=e.currentTarget.parentElement?.querySelector("code");if(!i)return;getSelection()?.selectAllChildren(i),!document.execCommand("copy")&&navigator.clipboard&&navigator.clipboard.writeText(i.textContent??"").catch(()=>{}),this.copied=t}};se.styles=[w,f`
      :host { padding: 0.25rem 0 0.75rem; }
      form { display: flex; flex-wrap: wrap; gap: 0.5rem; align-items: end; margin: 0.25rem 0 0.5rem; }
      label { display: grid; gap: 0.15rem; font-size: 0.75rem; color: var(--dim); flex: 0 1 14rem; }
      label > * { font-size: 1rem; color: var(--text); min-height: 2.75rem; }
      xp-key { min-width: 8rem; min-height: 2.75rem; }
      output { font-size: 0.875rem; flex-basis: 100%; }
      .form { display: grid; grid-template-columns: 3.5rem minmax(0, 1fr) 5rem; gap: 0.5rem; align-items: center; padding: 0.125rem 0; }
      code { font-family: ui-monospace, monospace; font-size: 0.8125rem; background: var(--ground); padding: 0.35rem 0.5rem; overflow-x: auto; white-space: pre; user-select: all; border-radius: 2px; }
      p { margin: 0 0 0.25rem; font-size: 0.875rem; }
    `],c([u({attribute:!1})],se.prototype,"verb",2),c([v()],se.prototype,"values",2),c([v()],se.prototype,"told",2),c([v()],se.prototype,"copied",2),se=c([b("xp-verb")],se);var ye=class extends x{constructor(){super(...arguments);this.only=""}show(e){this.only=e,this.updateComplete.then(()=>this.dialog.open||this.dialog.showModal())}follows(){return[this.deck.verbs]}view(){let e=this.deck.verb(this.only);return a`<dialog aria-label=${e?S(e.name):"Keys and verbs"} @keydown=${t=>t.stopPropagation()}>
      <header><h2>${e?S(e.name):"Keys and verbs"}</h2><button @click=${()=>this.dialog.close()}>Close</button></header>
      ${e?a`<p>${fe(e.help)}</p><xp-verb .deck=${this.deck} .verb=${e}></xp-verb>`:this.map()}
    </dialog>`}map(){let{deck:e}=this;return a`<dl>${_r.filter(t=>!t.verb||e.verb(t.verb)).map(t=>a`<dt>${t.keys}</dt><dd>${e.verb(t.verb)?.help??""}${t.text}</dd>`)}</dl>
      <h3>Verbs</h3>
      <p class="dim">Each opens to be done from here, and to be copied as programs say it.</p>
      ${e.verbs.map(t=>a`<details @toggle=${()=>this.requestUpdate()}><summary><b>${S(t.name)}</b><span class="dim">${t.help}</span></summary>${this.isOpen(t.name)?a`<xp-verb .deck=${e} .verb=${t}></xp-verb>`:h}</details>`)}`}isOpen(e){let t=this.deck.verbs.findIndex(i=>i.name===e);return this.renderRoot.querySelectorAll("details")[t]?.open??!1}};ye.styles=[w,f`
      dialog { background: var(--panel); color: var(--text); border: 1px solid var(--edge); border-radius: 0.5rem; padding: 0 1.25rem 1.25rem; width: min(60rem, calc(100vw - 2rem)); max-height: calc(100vh - 2rem); box-sizing: border-box; overflow-y: auto; scrollbar-color: var(--edge) transparent; }
      dialog::backdrop { background: rgb(0 0 0 / 0.6); }
      header { display: flex; align-items: center; gap: 1rem; position: sticky; top: 0; background: var(--panel); padding: 0.75rem 0 0.5rem; z-index: 1; }
      header button { margin-left: auto; }
      h2 { font-size: 1.125rem; }
      h3 { font-size: 1rem; color: var(--bright); margin: 0.5rem 0 0; }
      dl { display: grid; grid-template-columns: auto minmax(0, 1fr) auto minmax(0, 1fr); gap: 0.35rem 1rem; margin: 0.5rem 0 1rem; font-size: 0.875rem; align-items: baseline; }
      dt { color: var(--bright); white-space: nowrap; }
      dd { margin: 0; }
      details { border-top: 1px solid var(--line); }
      summary { min-height: 2.75rem; display: flex; gap: 0.75rem; align-items: center; cursor: pointer; font-size: 0.9375rem; }
      summary::before { content: "+"; color: var(--dim); width: 0.75rem; }
      details[open] summary::before { content: "−"; }
      summary b { color: var(--bright); min-width: 9rem; }
      p { margin: 0 0 0.25rem; font-size: 0.875rem; }
      @media (max-width: 759px) { dl { grid-template-columns: auto minmax(0, 1fr); } summary b { min-width: 7rem; } }
    `],c([u()],ye.prototype,"only",2),c([M("dialog")],ye.prototype,"dialog",2),ye=c([b("xp-help")],ye);var Ge=class extends x{view(){let r=this.deck.state,e=R(r);this.toggleAttribute("recording",e&&!this.deck.stale);let{stale:t}=this.deck;if(!r)return a`<div class="head"><span class="word">Connecting</span></div>`;if(!r.running)return a`<div class="head"><span class="word" role="status">Recorder not running</span></div>`;let i=e?r.take_frames:r.frame,o=e?X(r.medium_seconds_left):B(r.clip_frames-1-r.frame,r.clip_rate),n=r.status==="playing"&&r.speed===0,l=(d,m)=>a`<div><div class="label">${d}</div><div class="figure">${m}</div></div>`;return a`
      <div class="head">
        <span class="word" role="status">${this.word((t?"was ":"")+(n?"still":r.status))}</span>
        ${!e&&r.speed!==0&&r.status!=="stopped"?a`<span class="speed figure">${r.speed}×</span>`:h}
        <span class="format">${ke?a`<b><bdi>${ke}</bdi></b> `:h}<span class="dim">In</span> ${r.input_locked?r.input_format:"no signal"}<br /><span class="dim">Rec</span> ${O(r.record_codec)}</span>
      </div>
      ${r.record_inhibited&&!e?a`<div class="inhibited cut" title=${r.record_inhibited}>Cannot record: ${r.record_inhibited}</div>`:a`<div class="clip cut" title=${r.clip}>${r.clip||"no clip"}</div>`}
      <div class="fields">
        ${l(e?"Take":"Played",B(Math.max(0,i),r.clip_rate))}
        ${l(e?"Room left":"To the end",o)}
        ${e&&(r.take_copies>1||r.safe_on_both>0)?l("Safe / on both",`${B(r.recorded_up_to,r.clip_rate)} / ${B(r.safe_on_both,r.clip_rate)}`):e?l("Safe on disk",B(r.recorded_up_to,r.clip_rate)):l("Input timecode",r.input_timecode||"--:--:--:--")}
      </div>
    `}word(r){let e=O(r);return e.charAt(0).toUpperCase()+e.slice(1)}};Ge.styles=[w,f`
      :host { background: var(--panel); box-shadow: var(--rim); border-radius: var(--round); padding: 0.5rem 0.75rem; display: grid; grid-template-rows: auto 1fr auto; gap: 0.1rem; min-width: 0; }
      :host([recording]) { background: var(--red); color: var(--on-red); }
      :host([recording]) .dim, :host([recording]) .label, :host([recording]) .word, :host([recording]) .figure { color: var(--on-red); }
      .head { display: flex; align-items: baseline; gap: 0.75rem; min-width: 0; }
      .word { font-weight: 700; font-size: max(2rem, 2.6vw); line-height: 1.05; color: var(--bright); white-space: nowrap; letter-spacing: 0.01em; }
      .speed { font-size: 1.25rem; color: var(--bright); }
      .format { margin-left: auto; text-align: right; font-size: 0.8125rem; min-width: 0; }
      .clip { font-size: 1rem; align-self: center; color: var(--bright); unicode-bidi: plaintext; }
      :host([recording]) .clip { color: var(--on-red); }
      .fields { display: grid; grid-template-columns: repeat(3, auto); justify-content: space-between; gap: 0.75rem; }
      .fields .figure { font-size: 1.0625rem; color: var(--bright); line-height: 1.1; }
      .inhibited { color: var(--amber); font-size: 0.8125rem; }
      :host([big]) .word { font-size: 3.4vw; }
      :host([big]) .clip { font-size: 1.6vw; }
      :host([big]) .fields .figure { font-size: 1.6vw; }
      :host([big]) .label, :host([big]) .format { font-size: 1.1vw; }
      @media (max-width: 1099px) {
        :host { padding: 0.5rem 0.6rem; }
        .word { font-size: 1.5rem; }
        .fields .figure { font-size: 0.9375rem; }
      }
    `],Ge=c([b("xp-state")],Ge);var Je=24,Pi=60,Te=class extends x{constructor(){super(...arguments);this.disabled=!1;this.angle=0;this.grip=null;this.rest=0}turn(e){if(this.disabled)return;this.angle+=e,this.renderRoot.querySelector("#wheel")?.setAttribute("transform",`rotate(${this.angle*360} 60 60)`),this.rest+=e*Je;let t=Math.trunc(this.rest);t!==0&&(this.rest-=t,this.deck.steps(t))}at(e){let t=e.currentTarget.getBoundingClientRect();return Math.atan2(e.clientY-t.top-t.height/2,e.clientX-t.left-t.width/2)/(2*Math.PI)}down(e){e.currentTarget.setPointerCapture(e.pointerId),this.grip=this.at(e)}move(e){if(this.grip===null)return;let t=this.at(e),i=t-this.grip;i-=Math.round(i),this.grip=t,this.turn(i)}wheel(e){e.preventDefault();let t=e.deltaMode===WheelEvent.DOM_DELTA_LINE?20:1;this.turn(e.deltaY*t/Pi/Je)}keydown(e){let t={ArrowRight:1,ArrowUp:1,ArrowLeft:-1,ArrowDown:-1}[e.key];t!==void 0&&(e.preventDefault(),e.stopPropagation(),this.turn(t*(e.shiftKey?10:1)/Je))}view(){let e=Array.from({length:Je},(t,i)=>i);return a`<svg viewBox="0 0 120 120" data-verb="step" role="slider" tabindex="0" aria-label="Jog wheel, a frame a notch" aria-valuenow=${this.deck.state?.frame??0} aria-valuemin="0"
      aria-valuemax=${Math.max(0,(this.deck.state?.clip_frames??1)-1)} aria-disabled=${this.disabled?"true":"false"}
      @pointerdown=${this.down} @pointermove=${this.move} @pointerup=${()=>this.grip=null} @pointercancel=${()=>this.grip=null} @wheel=${this.wheel} @keydown=${this.keydown}>
      <circle class="rim" cx="60" cy="60" r="58.5" />
      <g id="wheel" transform="rotate(0 60 60)">
        ${e.map(t=>this.mark(t))}
        <circle class="disc" cx="60" cy="60" r="46" />
        <circle class="dimple" cx="60" cy="30" r="10.5" />
      </g>
    </svg>`}mark(e){let t=e/Je*2*Math.PI-Math.PI/2,[i,o]=[Math.cos(t),Math.sin(t)];return Ti(60+i*50,60+o*50,60+i*55.5,60+o*55.5,e%6===0?"mark big":"mark")}};Te.styles=[w,f`
      :host { display: grid; place-items: center; min-height: 0; }
      svg { width: 100%; height: 100%; max-height: 100%; touch-action: none; cursor: grab; display: block; border-radius: 50%; aspect-ratio: 1; }
      svg:active { cursor: grabbing; }
      .rim { fill: var(--panel); stroke: var(--line); stroke-width: 1; }
      .disc { fill: var(--raised); stroke: var(--lifted); stroke-width: 1.5; }
      .dimple { fill: var(--ground); stroke: var(--lifted); stroke-width: 1; }
      .mark { stroke: var(--edge); stroke-width: 1; }
      .mark.big { stroke: var(--text); stroke-width: 1.5; }
    `],c([u({type:Boolean})],Te.prototype,"disabled",2),Te=c([b("xp-jog")],Te);var Ti=(s,r,e,t,i)=>D`<line class=${i} x1=${s} y1=${r} x2=${e} y2=${t} />`;var Ye=class extends x{get frames(){return Math.max(1,this.deck.state?.clip_frames??1)}go(r){let e=r.currentTarget.getBoundingClientRect(),t=Math.min(1,Math.max(0,(r.clientX-e.left)/e.width));this.cue(Math.round(t*(this.frames-1)))}cue(r){let e=this.deck.state;!e?.running||R(e)||this.deck.run("cue",{where:String(Math.min(this.frames-1,Math.max(0,r)))})}keydown(r){let e={PageUp:.1,PageDown:-.1}[r.key];e!==void 0&&(r.preventDefault(),this.cue((this.deck.state?.frame??0)+Math.round(e*this.frames)))}updated(){let r=this.deck.state,e=r&&!R(r)?Math.min(1,Math.max(0,r.frame)/Math.max(1,this.frames-1)):0;this.renderRoot.querySelector(".done")?.style.setProperty("transform",`scaleX(${e})`),this.renderRoot.querySelector(".head")?.style.setProperty("left",`${e*100}%`)}view(){let r=this.deck.state,e=R(r),t=Math.max(0,r?.frame??0);return a`<span class="cut figure">${e?"A take runs":`Frame ${t}`}</span><div
      class="bar" data-verb="cue" role="slider" tabindex="0" aria-label="Position in the clip" aria-valuemin="0" aria-valuemax=${this.frames-1} aria-valuenow=${e?0:Math.min(t,this.frames-1)}
      aria-valuetext=${e?"recording":`frame ${t} of ${this.frames}`} aria-disabled=${e?"true":"false"} @pointerdown=${this.go} @keydown=${this.keydown}
    >
      <div class="done"></div>
      <div class="head" ?hidden=${e}></div>
    </div><span class="length figure">${e?"":B(this.frames,r?.clip_rate??25)}</span>`}};Ye.styles=[w,f`
      :host { height: 1.5rem; display: grid; grid-template-columns: 6.5rem minmax(0, 1fr) 5.5rem; gap: 0.5rem; align-items: center; font-size: 0.75rem; color: var(--dim); }
      .length { text-align: right; }
      @media (max-width: 1099px) { :host { height: auto; grid-template-columns: 1fr auto; } .bar { grid-area: 1 / 1 / 2 / 3; height: 1.75rem !important; } }
      .bar { position: relative; height: 100%; background: var(--panel); box-shadow: var(--rim); border-radius: var(--round); overflow: hidden; cursor: pointer; touch-action: none; }
      .bar[aria-disabled="true"] { cursor: default; }
      .done { position: absolute; inset: 0; background: var(--lifted); transform-origin: left; }
      .head { position: absolute; top: 0; bottom: 0; width: 0.1875rem; margin-left: -0.09rem; background: var(--bright); }
    `],Ye=c([b("xp-position")],Ye);var Rt=[0,.1,.25,.5,1,2,4,8,16,32],de=class extends x{constructor(){super(...arguments);this.disabled=!1;this.pulled=0;this.speed=0}pull(e){if(this.disabled)return;this.pulled=Math.min(1,Math.max(-1,e));let t=Math.sign(this.pulled)*Rt[Math.round(Math.abs(this.pulled)*(Rt.length-1))];t!==this.speed&&(this.speed=t,this.deck.speed(t))}move(e){let t=e.currentTarget;if(e.type==="pointerdown"&&t.setPointerCapture(e.pointerId),!t.hasPointerCapture(e.pointerId))return;let i=t.getBoundingClientRect();this.pull((e.clientX-i.left)/i.width*2-1)}let(){this.pulled!==0&&(this.pulled=0,this.speed=0,this.deck.speed(0))}keydown(e){let t={ArrowRight:1,ArrowLeft:-1}[e.key];t!==void 0&&(e.preventDefault(),e.stopPropagation(),this.pull(this.pulled+t/(Rt.length-1)))}updated(){this.renderRoot.querySelector(".knob")?.style.setProperty("left",`calc(50% + ${this.pulled} * (50% - 1.25rem))`)}view(){return a`<div class="track" data-verb="play" role="slider" tabindex="0" aria-label="Shuttle" aria-valuemin="-32" aria-valuemax="32" aria-valuenow=${this.speed}
      aria-valuetext=${this.speed===0?"still":`${this.speed} times`} aria-disabled=${this.disabled?"true":"false"} title="Shuttle: pull and let go; the picture then holds"
      @pointerdown=${this.move} @pointermove=${this.move} @pointerup=${this.let} @pointercancel=${this.let} @keydown=${this.keydown} @keyup=${this.let} @blur=${this.let}>
      <div class="marks" aria-hidden="true"><span>32</span><span>8</span><span>2</span><span>½</span><span>0</span><span>½</span><span>2</span><span>8</span><span>32</span></div>
      <div class="knob"></div>
    </div>`}};de.styles=[w,f`
      .track { position: relative; height: 100%; min-height: 2.75rem; background: var(--panel); box-shadow: var(--rim); border-radius: var(--round); touch-action: none; cursor: ew-resize; overflow: hidden; }
      .marks { position: absolute; inset: auto 0 0.2rem 0; display: flex; justify-content: space-between; padding: 0 0.5rem; font-size: 0.625rem; color: var(--dim); pointer-events: none; }
      .knob { position: absolute; top: 0.25rem; bottom: 1.1rem; width: 2.25rem; left: 50%; margin-left: -1.125rem; background: var(--lifted); border: 1px solid var(--edge); border-radius: var(--round); pointer-events: none; }
      .knob::after { content: ""; position: absolute; left: 50%; top: 20%; bottom: 20%; border-left: 2px solid var(--bright); margin-left: -1px; }
      .track[aria-disabled="true"] { cursor: default; }
      .now { position: absolute; top: 0.35rem; right: 0.6rem; font-size: 0.8125rem; color: var(--bright); pointer-events: none; }
    `],c([u({type:Boolean})],de.prototype,"disabled",2),c([v()],de.prototype,"pulled",2),c([v()],de.prototype,"speed",2),de=c([b("xp-shuttle")],de);var Lt=s=>s!=="stopped"&&s!=="recording",Ci=[{verb:"record",label:"Record",icon:"record",wide:!0,lit:s=>s==="recording"},{verb:"stop",label:"Stop",icon:"stop",wide:!0,lit:s=>s==="stopped"},{verb:"play",label:"Reverse",icon:"reverse",values:{speed:-1},lit:(s,r)=>Lt(s)&&r<0},{verb:"still",label:"Still",icon:"still",lit:(s,r)=>Lt(s)&&r===0},{verb:"play",label:"Play",icon:"play",wide:!0,values:{speed:1},lit:(s,r)=>Lt(s)&&r>0},{verb:"prev",label:"Previous",icon:"prev"},{verb:"next",label:"Next",icon:"next"}],Ri=[-10,-1,1,10],Ce=class extends x{focusTimecode(){this.where.focus(),this.where.select()}follows(){let{state:r}=this.deck;return[r?.running,r?.status,r?.speed,this.deck.stale,this.deck.pending,this.deck.verbs]}view(){let r=this.deck.state,e=R(r),t=!r?.running||this.deck.stale;return a`
      <xp-position .deck=${this.deck}></xp-position>
      <div class="keys" role="toolbar" aria-label="Transport">${Ci.map((i,o)=>this.key(i,e,t,o===4))}</div>
      <div class="second">
        <div class="steps" role="group" aria-label="Step">
          ${Ri.map(i=>a`<xp-key verb="step" label=${i>0?`+${i}`:`−${-i}`} hint=${`${Math.abs(i)} frame${Math.abs(i)>1?"s":""} ${i>0?"on":"back"}`}
              ?disabled=${t} @press=${()=>this.deck.steps(i)}></xp-key>`)}
        </div>
        <xp-shuttle .deck=${this.deck} ?disabled=${t}></xp-shuttle>
        <form data-verb="cue" @submit=${this.cue}>
          <input id="where" aria-label="Timecode or frame to cue to" placeholder="hh:mm:ss:ff" autocomplete="off" spellcheck="false" inputmode="numeric" maxlength="32" />
          <button ?disabled=${t} title=${this.deck.verb("cue")?.help??h}>Cue</button>
        </form>
      </div>
      <xp-jog .deck=${this.deck} ?disabled=${t}></xp-jog>
    `}key(r,e,t,i){let o=this.deck.verb(r.verb);if(this.deck.verbs.length&&!o)return h;let n=this.deck.state,l=!t&&!!n&&!!r.lit?.(n.status,n.speed);return a`<xp-key
      class="${r.wide?"wide":""} ${i?"third":""}"
      verb=${r.verb}
      label=${r.verb==="stop"&&e?"Hold to stop":r.label}
      hint=${`${r.label}: ${o?.help??""}`}
      icon=${r.icon}
      ?red=${r.verb==="record"}
      ?lit=${l}
      ?toggle=${!!r.lit}
      ?pending=${this.deck.pending.has(r.verb)}
      ?hold=${r.verb==="stop"&&e}
      ?disabled=${t}
      @press=${()=>{this.deck.run(r.verb,r.values)}}
      @toobrief=${()=>this.deck.tell({kind:"lost",title:"Still recording",text:"To end the take, hold the key for a second."})}
    ></xp-key>`}cue(r){r.preventDefault();let e=Li(this.where.value);e&&(this.where.blur(),this.deck.run("cue",{where:e}).then(t=>t.done||this.where.focus()))}};Ce.styles=[w,f`
      :host { display: grid; grid-template-columns: minmax(0, 1fr) auto; grid-template-rows: auto 1fr 1fr; gap: var(--gap); }
      xp-position { grid-column: 1 / -1; }
      .keys { display: grid; grid-template-columns: 1.5fr 1.5fr 1fr 1fr 1.5fr 1fr 1fr; gap: 0.25rem; min-height: 3.75rem; }
      .second { display: grid; grid-template-columns: auto minmax(8rem, 1fr) auto; gap: 0.75rem; align-items: stretch; min-height: 3.25rem; }
      .steps { display: grid; grid-template-columns: repeat(4, 2.75rem); gap: 0.25rem; }
      xp-jog { grid-column: 2; grid-row: 2 / 4; width: 8.5rem; align-self: stretch; }
      form { display: grid; grid-template-columns: 9.5rem auto; gap: 0.25rem; align-items: stretch; }
      form input { font-size: 1.125rem; font-weight: 700; text-align: center; padding: 0 0.25rem; min-height: 2.75rem; }
      form button { padding: 0 0.7rem; }
      @media (max-width: 1099px) {
        :host { grid-template-columns: minmax(0, 1fr); grid-template-rows: none; }
        .keys { grid-template-columns: repeat(10, 1fr); }
        .keys xp-key { min-height: 3.25rem; grid-column: span 2; }
        .keys xp-key.wide { grid-column: span 5; min-height: 4.25rem; }
        .keys xp-key.wide.third { grid-column: span 2; min-height: 3.25rem; }
        :host(:not([more])) .second, :host(:not([more])) xp-jog { display: none; }
        .second { grid-template-columns: minmax(0, 1fr); gap: 0.5rem; }
        .steps { grid-template-columns: repeat(4, 1fr); min-height: 2.75rem; }
        xp-shuttle { min-height: 3.25rem; }
        form { grid-template-columns: minmax(0, 1fr) auto; }
        xp-jog { grid-column: 1; grid-row: auto; width: 11rem; height: 11rem; justify-self: center; }
      }
    `],c([M("#where")],Ce.prototype,"where",2),Ce=c([b("xp-transport")],Ce);function Li(s){let r=s.trim();return r.startsWith("#")?r.slice(1).trim():/^\d{1,8}$/.test(r)?r.padStart(8,"0").replace(/^(..)(..)(..)(..)$/,"$1:$2:$3:$4"):r.replaceAll(".",":")}var U=class extends A{constructor(){super(...arguments);this.deck=new _e;this.age=sr();this.kiosk=location.hash.startsWith("#/kiosk");this.delay=null;this.open=!1;this.more=!1;this.end=()=>{};this.spoken=0;this.menu=e=>{let t=e.composedPath(),i=this.verbUnder(e);if(!i||t[0]instanceof HTMLInputElement)return;e.preventDefault(),t.some(n=>n instanceof C?n.isHeld:n instanceof Element&&n.getAttribute("role")==="slider"&&e.pointerType==="touch")||this.help.show(i)};this.moved=()=>{this.kiosk=location.hash.startsWith("#/kiosk")}}connectedCallback(){super.connectedCallback(),this.deck.subscribe(()=>this.requestUpdate()),this.deck.onlink=()=>this.picture.link.renew(),this.deck.start(),addEventListener("hashchange",this.moved),this.addEventListener("xp-forms",e=>this.help.show(e.verb)),this.addEventListener("contextmenu",this.menu),this.end=Er(this.deck,{holdStop:()=>this.stopKey?.begin(),releaseStop:()=>this.stopKey?.end(),focusTimecode:()=>this.transport.focusTimecode(),mark:()=>this.column.mark(),kiosk:()=>location.hash=this.kiosk?"#/clips":"#/kiosk",help:e=>this.help.show(this.verbUnder(e)),tab:e=>this.column.turn(e)})}disconnectedCallback(){super.disconnectedCallback(),removeEventListener("hashchange",this.moved),this.deck.stop(),this.end()}verbUnder(e){for(let t of e.composedPath()){if(t===this)break;let i=t instanceof HTMLElement||t instanceof SVGElement?t.dataset.verb??t.getAttribute("verb"):null;if(i)return i}return""}get stopKey(){return this.transport.renderRoot.querySelector('xp-key[verb="stop"]')}firstUpdated(){this.picture.link.start(),this.picture.addEventListener("xp-frame",e=>this.painted(e))}painted(e){let{frame:t}=e;if(this.deck.pictureSeen(),this.timecode.value=t.timecode,this.meter.show(t.meters),t.loudness&&this.spoken++%4===0&&this.tellLoudness(t.loudness),this.deck.clockOffset===null||!t.captured||t.isRepeat)return;let i=this.age.add(performance.now()+this.deck.clockOffset-t.captured);i!==null&&(this.delay=i)}tellLoudness(e){["#momentary","#short"].forEach((t,i)=>{let o=this.renderRoot.querySelector(t);o&&(o.textContent=e[i]<=-70?"-":e[i].toFixed(1).replace("-","−"))})}updated(){this.toggleAttribute("kiosk",this.kiosk),document.title=this.pageTitle()}pageTitle(){let{state:e,stale:t}=this.deck,i=ke||"Recorder";return t||!e?`! ${i}`:R(e)?`● ${ke} Recording ${e.clip}`:`${i}: ${e.status.replaceAll("_"," ")}`}banner(e){let{deck:t}=this,i=(t.frozen/1e3).toFixed(1),o="";return t.stale?o=`No link to the recorder for ${i} s. Nothing here is live.`:e?o="The recorder is not running.":t.frozen?o=`No pictures for ${i} s. Picture, timecode and meters are not live.`:t.state?.store_problem&&(o=`The store cannot be reached: ${t.state.store_problem}`),o?a`<div class="banner" role="alert">${o}</div>`:h}render(){let{deck:e}=this,t=R(e.state)&&!e.stale,i=e.state?.running===!1;return a`
      <h1 class="hidden">Recorder</h1>
      <div class="time"><xp-timecode ?recording=${t} .age=${i?Number.EPSILON:e.frozen}></xp-timecode></div>
      <xp-state .deck=${e} ?big=${this.kiosk}></xp-state>
      <div class="view">
        <div class="frame ${t?"recording":""}">
          <xp-picture id="picture" ?stale=${e.frozen>0||i}></xp-picture>
          ${this.banner(i)} ${e.me.role==="nobody"?a`<div class="login"><xp-login .deck=${e}></xp-login></div>`:h}
        </div>
        <div class="sound">
        <xp-meter ?stale=${e.frozen>0||i} ?flat=${matchMedia("(max-width: 1099px)").matches}></xp-meter>
        <div class="loudness" title="Loudness in LUFS: of the last 400 ms, of the last three seconds"><span class="label">LUFS</span><span id="momentary" class="figure">-</span><span id="short" class="figure">-</span></div>
        </div>
      </div>
      <xp-transport .deck=${e} ?more=${this.more}></xp-transport>
      <div class="more">
        <button aria-expanded=${this.more?"true":"false"} @click=${()=>this.more=!this.more}>Jog, shuttle, cue</button>
        <button @click=${()=>this.open=!0}>Clips, settings…${e.state?.alarms?a` <b>! ${e.state.alarms}</b>`:h}</button>
      </div>
      <xp-column class=${this.open?"open":""} .deck=${e} @xp-close=${()=>this.open=!1}></xp-column>
      <xp-health .deck=${e} .delay=${this.delay}></xp-health>
      <xp-help .deck=${e}></xp-help>
      ${e.notice?a`<div class="notice" role="alert"><span><b>${e.notice.title}</b>. ${e.notice.text}</span><button class="small" @click=${()=>e.tell(null)}>Close</button></div>`:h}
    `}};U.styles=[w,f`
      :host { box-sizing: border-box; display: grid; height: 100vh; height: 100dvh; padding: var(--gap); gap: var(--gap); overflow: hidden;
        grid-template-columns: minmax(0, 1fr) 31rem; grid-template-rows: auto minmax(0, 1fr) auto 3.25rem; grid-template-areas: "time state" "view column" "keys column" "health health"; }
      .time { grid-area: time; display: flex; align-items: center; justify-content: center; background: var(--panel); box-shadow: var(--rim); border-radius: var(--round); min-width: 0; overflow: hidden; padding: 0.3rem 0; }
      xp-timecode { font-size: min(9.7vw, 15.52rem); }
      xp-state { grid-area: state; }
      .view { grid-area: view; display: grid; grid-template-columns: auto minmax(0, 20rem); justify-content: center; gap: var(--gap); min-height: 0; container-type: size; }
      .frame { position: relative; border: 0.25rem solid var(--line); border-radius: var(--round); background: #000; box-sizing: border-box; width: min(100cqw - 8rem, (100cqh - 0.5rem) * 16 / 9 + 0.5rem); max-height: 100%; aspect-ratio: auto; height: min(100cqh, (100cqw - 8.5rem) * 9 / 16 + 0.5rem); align-self: center; }
      .frame.recording { border-color: var(--red); }
      xp-picture { position: absolute; inset: 0; }
      .banner { position: absolute; inset: auto 0 0 0; background: var(--amber); color: var(--on-amber); font-weight: 700; padding: 0.5rem 0.75rem; text-align: center; }
      .login { position: absolute; inset: 0; display: grid; place-content: center; background: var(--panel); padding: 1rem; }
      .sound { display: grid; grid-template-rows: minmax(0, 1fr) auto; background: var(--panel); box-shadow: var(--rim); border-radius: var(--round); min-width: 0; }
      xp-meter { margin: 0.4rem; }
      .loudness { display: grid; grid-template-columns: auto 1fr 1fr; gap: 0.4rem; align-items: baseline; padding: 0 0.6rem 0.4rem; font-size: 0.8125rem; text-align: right; color: var(--bright); white-space: nowrap; }
      xp-transport { grid-area: keys; }
      xp-column { grid-area: column; min-height: 0; }
      xp-health { grid-area: health; }
      .notice { grid-area: view; align-self: end; justify-self: center; max-width: 36rem; margin: 0.75rem; background: var(--bright); color: var(--on-bright); border-radius: var(--round); padding: 0.6rem 0.75rem; display: flex; gap: 1rem; align-items: center; justify-content: space-between; z-index: 4; box-shadow: 0 0.5rem 2rem rgb(0 0 0 / 0.6); }
      .notice button { background: transparent; color: inherit; border-color: currentColor; }
      .more { display: none; }
      xp-help { position: absolute; }

      :host([kiosk]) { grid-template-columns: minmax(0, 1fr) minmax(24rem, 32vw); grid-template-rows: auto minmax(0, 1fr) 3.25rem; grid-template-areas: "time state" "view view" "health health"; }
      :host([kiosk]) xp-transport, :host([kiosk]) xp-column { display: none; }
      :host([kiosk]) xp-timecode { font-size: 10vw; }

      @media (max-width: 1099px) {
        :host { height: auto; min-height: 100dvh; overflow: visible; grid-template-columns: minmax(0, 1fr); grid-template-rows: none; grid-template-areas: "state" "time" "view" "keys" "more" "column" "health"; padding: 0.375rem; gap: 0.375rem; align-content: start; }
        xp-timecode { font-size: min(16.4vw, 7rem); }
        .view { grid-template-columns: minmax(0, 1fr); container-type: normal; }
        .frame { width: min(100%, 56vh * 16 / 9); height: auto; max-height: none; aspect-ratio: 16 / 9; justify-self: center; }
        xp-meter { height: 5rem; }
        .more { grid-area: more; display: grid; grid-template-columns: 1fr 1fr; gap: 0.25rem; }
        .more button { min-height: 3rem; }
        .notice { position: fixed; inset: auto 0.5rem 0.5rem; margin: 0; }
        xp-column { display: none; }
        xp-column.open { display: block; position: fixed; inset: 0; z-index: 3; }
        :host([kiosk]) { grid-template-columns: minmax(0, 1fr); grid-template-areas: "state" "time" "view" "health"; }
      }
      @media (min-width: 760px) and (max-width: 1099px) {
        :host(:not([kiosk])) { grid-template-columns: minmax(0, 1fr) 19.5rem; grid-template-areas: "time state" "view view" "keys keys" "more more" "column column" "health health"; }
        :host(:not([kiosk])) xp-timecode { font-size: calc((100vw - 21rem) * 0.158); }
        .frame { width: min(100%, 44vh * 16 / 9); }
      }
      @media (max-width: 359px) { .time { overflow-x: auto; } }
    `],c([v()],U.prototype,"kiosk",2),c([v()],U.prototype,"delay",2),c([v()],U.prototype,"open",2),c([v()],U.prototype,"more",2),c([M("xp-timecode")],U.prototype,"timecode",2),c([M("xp-meter")],U.prototype,"meter",2),c([M("xp-picture")],U.prototype,"picture",2),c([M("xp-column")],U.prototype,"column",2),c([M("xp-help")],U.prototype,"help",2),c([M("xp-transport")],U.prototype,"transport",2),U=c([b("xp-panel")],U);var Mr=(s,r,e)=>{let t=new Map;for(let i=r;i<=e;i++)t.set(s[i],i);return t},Sr=ut(class extends Ae{constructor(s){if(super(s),s.type!==te.CHILD)throw Error("repeat() can only be used in text expressions")}dt(s,r,e){let t;e===void 0?e=r:r!==void 0&&(t=r);let i=[],o=[],n=0;for(let l of s)i[n]=t?t(l,n):n,o[n]=e(l,n),n++;return{values:o,keys:i}}render(s,r,e){return this.dt(s,r,e).values}update(s,[r,e,t]){let i=kr(s),{values:o,keys:n}=this.dt(r,e,t);if(!Array.isArray(i))return this.ut=n,o;let l=this.ut??=[],d=[],m,g,p=0,y=i.length-1,k=0,P=o.length-1;for(;p<=y&&k<=P;)if(i[p]===null)p++;else if(i[y]===null)y--;else if(l[p]===n[k])d[k]=le(i[p],o[k]),p++,k++;else if(l[y]===n[P])d[P]=le(i[y],o[P]),y--,P--;else if(l[p]===n[P])d[P]=le(i[p],o[P]),Me(s,d[P+1],i[p]),p++,P--;else if(l[y]===n[k])d[k]=le(i[y],o[k]),Me(s,i[p],i[y]),y--,k++;else if(m===void 0&&(m=Mr(n,k,P),g=Mr(l,p,y)),m.has(l[p]))if(m.has(l[y])){let $=g.get(n[k]),E=$!==void 0?i[$]:null;if(E===null){let z=Me(s,i[p]);le(z,o[k]),d[k]=z}else d[k]=le(E,o[k]),Me(s,i[p],E),i[$]=null;k++}else ft(i[y]),y--;else ft(i[p]),p++;for(;k<=P;){let $=Me(s,d[P+1]);le($,o[k]),d[k++]=$}for(;p<=y;){let $=i[p++];$!==null&&ft($)}return this.ut=n,gt(s,d),H}});var J=class extends A{constructor(){super(...arguments);this.at="";this.name="";this.told="";this.deck=null}get within(){return this.at&&`${this.at}/`}connectedCallback(){super.connectedCallback(),this.deck=new _e(this.within),this.deck.subscribe(()=>this.requestUpdate()),this.deck.onlink=()=>this.picture.link.renew(),this.deck.start()}disconnectedCallback(){super.disconnectedCallback(),this.deck?.stop()}firstUpdated(){this.picture.link.at=this.within,this.picture.link.start(),this.picture.addEventListener("xp-frame",e=>{this.deck?.pictureSeen(),this.timecode.value=e.frame.timecode})}get link(){let e=[Le,this.at].filter(Boolean).join("/");return`${location.pathname}${e?`?at=${encodeURI(e)}`:""}#/clips`}banner(e,t){return e.stale?`${this.told||`No link for ${(e.frozen/1e3).toFixed(0)} s.`} Nothing here is live.`:t?"The recorder is not running.":e.frozen?`No pictures for ${(e.frozen/1e3).toFixed(0)} s.`:e.notice?`${e.notice.title}. ${e.notice.text}`:""}render(){let e=this.deck;if(!e)return h;let{state:t}=e,i=R(t)&&!e.stale,o=t?.running===!1,n=e.stale||!t?.running;this.toggleAttribute("recording",i);let l=this.banner(e,o),d=t?o?"Not running":S((e.stale?"was ":"")+t.status):"Connecting";return a`
      <xp-picture ?stale=${e.frozen>0||o}></xp-picture>
      ${l?a`<div class="banner" role="alert">${l}</div>`:h}
      <div class="head">
        <span class="name cut"><bdi>${this.name}</bdi></span>
        <xp-timecode ?recording=${i} .age=${o?Number.EPSILON:e.frozen}></xp-timecode>
        <span class="word" role="status">${d}</span>
      </div>
      <div class="foot">
        <span class="cut">${t&&!n?a`<bdi>${t.clip||"no clip"}</bdi>, ${X(t.medium_seconds_left)} left${t.alarms?a` <span class="alarms">! ${t.alarms} ${t.alarms===1?"alarm":"alarms"}</span>`:h}`:h}</span>
        <xp-key verb="record" label="Record" red ?lit=${i} toggle ?pending=${e.pending.has("record")} ?disabled=${n} @press=${()=>{e.run("record")}}></xp-key>
        <xp-key verb="stop" label=${i?"Hold to stop":"Stop"} ?hold=${i} ?pending=${e.pending.has("stop")} ?disabled=${n} @press=${()=>{e.run("stop")}}
          @toobrief=${()=>e.tell({kind:"lost",title:"Still recording",text:"To end the take, hold the key for a second."})}></xp-key>
        <a href=${this.link}>Open<span class="hidden"> ${this.name}</span></a>
      </div>
    `}};J.styles=[w,f`
      :host { position: relative; display: grid; grid-template-rows: minmax(0, 1fr) auto auto; background: var(--panel); border: 0.25rem solid var(--line); border-radius: var(--round); min-height: 0; min-width: 0; overflow: hidden; container-type: inline-size; }
      :host([recording]) { border-color: var(--red); }
      xp-picture { min-height: 0; min-width: 0; }
      .banner { position: absolute; inset: 0 0 auto 0; background: var(--amber); color: var(--on-amber); font-weight: 700; padding: 0.4rem 0.75rem; text-align: center; }
      .head { display: grid; grid-template-columns: minmax(0, 1fr) auto; gap: 0 1rem; align-items: center; padding: 0.4rem 0.75rem 0; }
      .name { font-weight: 700; color: var(--bright); font-size: max(1rem, 3.2cqw); }
      .word { font-size: max(0.875rem, 2.6cqw); }
      :host([recording]) .word { background: var(--red); color: var(--on-red); border-radius: var(--round); padding: 0 0.5em; font-weight: 700; justify-self: start; }
      .alarms { color: var(--amber); font-weight: 700; }
      xp-timecode { font-size: 9cqw; grid-row: 1 / 3; grid-column: 2; }
      .foot { display: grid; grid-template-columns: minmax(0, 1fr) auto auto auto; gap: 0.25rem 0.5rem; padding: 0.4rem 0.5rem 0.5rem 0.75rem; align-items: center; }
      xp-key { width: 6.5rem; height: 2.75rem; }
      .foot a { display: grid; place-content: center; min-height: 2.75rem; padding: 0 0.75rem; }
      @media (max-width: 759px) { xp-picture { aspect-ratio: 16 / 9; } .foot { grid-template-columns: repeat(3, auto); } .foot .cut { grid-column: 1 / -1; } }
    `],c([u()],J.prototype,"at",2),c([u()],J.prototype,"name",2),c([u()],J.prototype,"told",2),c([M("xp-picture")],J.prototype,"picture",2),c([M("xp-timecode")],J.prototype,"timecode",2),J=c([b("xp-tile")],J);var zi=5e3,$e=class extends A{constructor(){super(...arguments);this.places=[];this.problem="";this.timer=0}connectedCallback(){super.connectedCallback(),document.title="Recorders",this.look(),this.timer=window.setInterval(()=>{this.look()},zi)}disconnectedCallback(){super.disconnectedCallback(),clearInterval(this.timer)}async look(){let e=await N("fleet");if(e instanceof _){this.problem=e.status===404?"":e.sentence,e.status===404&&!this.places.length&&(this.places=[{at:"",name:"This recorder",told:""}]);return}this.problem="";let t=(e.channels??[]).map(({channel:l,panel:d})=>({at:l===1?"":`channels/${l}`,name:`Channel ${l}`,told:d?"":"Its panel does not run."})),i=(e.machines??[]).flatMap(l=>{let d=`machines/${encodeURIComponent(l.name)}`,m=l.state==="ready"?"":`This machine is ${l.state.replaceAll("_"," ")}.`,g=l.channels?.length?l.channels:[{channel:1,panel:!0}];return g.map(({channel:p})=>({at:p===1?d:`${d}/channels/${p}`,name:g.length>1?`${l.name}, channel ${p}`:l.name,told:m}))}),o=[...t,...i],n=this.places.filter(l=>!o.some(d=>d.at===l.at)).map(l=>({...l,told:"It is not told of any more."}));this.places=[...o,...n].sort((l,d)=>l.name.localeCompare(d.name,"en",{numeric:!0}))}updated(){let e=Math.ceil(Math.sqrt(this.places.length||1));this.renderRoot.querySelector(".tiles")?.style.setProperty("--columns",String(e))}render(){return a`
      <header><h1>Recorders</h1>${this.problem?a`<span role="alert">${this.problem}</span>`:h}<a href="#/clips">Back to one recorder</a></header>
      <div class="tiles">${Sr(this.places,e=>e.at,e=>a`<xp-tile at=${e.at} name=${e.name} told=${e.told}></xp-tile>`)}</div>
    `}};$e.styles=[w,f`
      :host { box-sizing: border-box; display: grid; grid-template-rows: auto minmax(0, 1fr); height: 100dvh; padding: var(--gap); gap: var(--gap); overflow: hidden; }
      header { display: flex; align-items: center; gap: 1rem; }
      header a { margin-left: auto; min-height: 2.75rem; line-height: 2.75rem; padding: 0 0.75rem; }
      h1 { font-size: 1.125rem; color: var(--bright); margin: 0; padding-left: 0.25rem; }
      .tiles { display: grid; gap: var(--gap); min-height: 0; grid-auto-rows: minmax(0, 1fr); grid-template-columns: repeat(var(--columns, 1), minmax(0, 1fr)); }
      @media (max-width: 759px) {
        :host { height: auto; overflow: visible; }
        .tiles { grid-template-columns: minmax(0, 1fr); grid-auto-rows: auto; }
      }
    `],c([v()],$e.prototype,"places",2),c([v()],$e.prototype,"problem",2),$e=c([b("xp-wall")],$e);function Pr(){let s=location.hash.startsWith("#/wall")?"xp-wall":"xp-panel",r=document.querySelector("main");r?.firstElementChild?.localName!==s&&r?.replaceChildren(document.createElement(s))}addEventListener("hashchange",Pr);Pr();
